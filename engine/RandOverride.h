/// How long a pending candidate waits before it takes over (RFC 5059 section 5, BS_Rand_Override): the
/// better its weight, the sooner, so that as a rule only the best one speaks.
#pragma once

#include <string>

#include "model/InternalStatus.h"

namespace Routing::Pim::Bsr {

/// Whole seconds. `own` is our candidate, with a set address, and `stored` the BSR that it believes elected.
uint32_t randOverride(const PimBsrWeight &own, const PimBsrWeight &stored, const std::string &vrf);

}  // namespace Routing::Pim::Bsr
