#include "platform/pim/Types.h"

#include <ostream>

namespace Routing::Pim {

Mode Mode::fromText(std::string_view text) {
  if (text == "sparsemode") return sparse;
  if (text == "bidir") return bidir;
  throw Kiv::RangeError("Mode is neither \"sparsemode\" nor \"bidir\"");
}

std::ostream &operator<<(std::ostream &out, Mode mode) { return out << (mode == Mode::bidir ? "bidir" : "sparsemode"); }

}  // namespace Routing::Pim
