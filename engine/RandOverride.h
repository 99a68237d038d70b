/// How long a pending candidate waits before it takes over (RFC 5059 section 5, BS_Rand_Override): the
/// better its weight, the sooner, so that as a rule only the best one speaks.
#pragma once

#include "model/InternalStatus.h"

namespace Routing::Pim::Bsr {

/// A plain value. Seconds.
struct RandOverride {
  /// `own` is our candidate, with a set address; `stored` the BSR that we believe elected.
  RandOverride(const PimBsrWeight &own, const PimBsrWeight &stored);

  double addrDelay;      ///< IPv4: by the address; IPv6: always the same
  double priorityDelay;  ///< 0 for the best priority
  double delay() const { return 5 + priorityDelay + addrDelay; }
};
std::ostream &operator<<(std::ostream &out, const RandOverride &delays);

}  // namespace Routing::Pim::Bsr
