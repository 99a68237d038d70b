#include "daemon/show/Show.h"

#include <array>
#include <stdexcept>

namespace Routing::Pim::Bsr {

namespace {

struct Producer {
  const char *noun;
  void (*rows)(const VrfView &view, Rows &rows);
};
constexpr std::array producers{
    Producer{"bsr", showBsr},
    Producer{"rp-set", showRpSet},
    Producer{"interfaces", showInterfaces},
    Producer{"neighbors", showNeighbors},
    Producer{"counters", showCounters},
};

}  // namespace

Rows rowsOf(std::string_view noun, const std::vector<VrfView> &views) {
  for (const Producer &producer : producers) {
    if (producer.noun != noun) continue;
    Rows rows = Rows::array();
    for (const VrfView &view : views) producer.rows(view, rows);
    return rows;
  }
  throw std::invalid_argument("there is no noun '" + std::string(noun) + "'");
}

}  // namespace Routing::Pim::Bsr
