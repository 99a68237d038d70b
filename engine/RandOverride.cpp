#include "engine/RandOverride.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {

double addrDelayOf(const Pax::IpGenAddr &own, const Pax::IpGenAddr &best, bool isBestPriority) {
  switch (own.af()) {
    case Pax::AddressFamily::ipv4:
      return isBestPriority ? std::log2(uint32_t{best.v4() - own.v4() + 1}) / 16 : 2 - own.v4() / std::exp2(31);
    case Pax::AddressFamily::ipv6: return 5.0;
    case Pax::AddressFamily::unknown: break;
  }
  REQUIRE_AS(false, "0 && \"Unknown address family not supported.\"");
  return 0;
}

}  // namespace

RandOverride::RandOverride(const PimBsrWeight &own, const PimBsrWeight &stored) {
  const unsigned bestPriority = std::max(stored.priority, own.priority);
  addrDelay = addrDelayOf(own.ipAddr, std::max(stored.ipAddr, own.ipAddr), own.priority == bestPriority);
  priorityDelay = 2 * std::log2(1 + bestPriority - own.priority);
}

std::ostream &operator<<(std::ostream &out, const RandOverride &delays) {
  return out << "addrDelay=" << delays.addrDelay << ", priorityDelay=" << delays.priorityDelay
             << ", delay=" << delays.delay();
}

}  // namespace Routing::Pim::Bsr
