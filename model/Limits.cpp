#include "model/Limits.h"

#include <ostream>

namespace Routing::Pim::Bsr {

std::ostream &operator<<(std::ostream &out, const Limits &limits) {
  return out << "rps=" << limits.rps << " zones=" << limits.zones << " ranges=" << limits.ranges
             << " collectedRps=" << limits.collectedRps << " rangesPerRp=" << limits.rangesPerRp
             << " keptBytes=" << limits.keptBytes << " openBytes=" << limits.openBytes
             << " neighbors=" << limits.neighbors;
}

}  // namespace Routing::Pim::Bsr
