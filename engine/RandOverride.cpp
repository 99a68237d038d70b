#include "engine/RandOverride.h"

#include <cmath>

#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::CandidateSm");

double addrDelayOf(const Pax::IpGenAddr &own, const Pax::IpGenAddr &best, bool isBestPriority) {
  if (own.af() == Pax::AddressFamily::ipv6) return 5.0;
  REQUIRE_AS(own.af() == Pax::AddressFamily::ipv4, "0 && \"Unknown address family not supported.\"");
  return isBestPriority ? std::log2(uint32_t{best.v4() - own.v4() + 1}) / 16 : 2 - own.v4() / std::exp2(31);
}

}  // namespace

uint32_t randOverride(const PimBsrWeight &own, const PimBsrWeight &stored, const std::string &vrf) {
  const auto vrfName = [&] { return vrf; };
  const unsigned myPriority = own.priority, storedPriority = stored.priority;
  VRF_TRACE(trace, 5, " Stored Priority=" << storedPriority << ", myPriority=" << myPriority);
  VRF_TRACE(trace, 5, "Stored Addr=" << stored.ipAddr << ", myAddr=" << own.ipAddr);
  const unsigned bestPriority = std::max(storedPriority, myPriority);
  const double addrDelay = addrDelayOf(own.ipAddr, std::max(stored.ipAddr, own.ipAddr), myPriority == bestPriority);
  const double priorityDelay = 2 * std::log2(1 + bestPriority - myPriority);
  const double delay = 5 + priorityDelay + addrDelay;
  const auto result = static_cast<uint32_t>(delay);
  VRF_TRACE(trace, 5,
            "addrDelay=" << addrDelay << ", priorityDelay=" << priorityDelay << ", delay=" << delay
                         << ", bs_rand_override=" << result);
  return result;
}

}  // namespace Routing::Pim::Bsr
