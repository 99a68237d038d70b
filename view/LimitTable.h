/// The limits that the engine counts refusals by, under the names of the configuration.
#pragma once

#include <array>

#include "model/Counters.h"
#include "model/Limits.h"

namespace Routing::Pim::Bsr {

struct LimitEntry {
  const char *name;
  uint32_t Limits::*most;
  uint32_t PimBsrLimitCounters::*refused;
  bool inBytes = false;
};
inline constexpr std::array limitTable{
    LimitEntry{"rps", &Limits::rps, &PimBsrLimitCounters::rps},
    LimitEntry{"zones", &Limits::zones, &PimBsrLimitCounters::zones},
    LimitEntry{"ranges", &Limits::ranges, &PimBsrLimitCounters::ranges},
    LimitEntry{"collectedRps", &Limits::collectedRps, &PimBsrLimitCounters::collectedRps},
    LimitEntry{"rangesPerRp", &Limits::rangesPerRp, &PimBsrLimitCounters::rangesPerRp},
    LimitEntry{"keptBytes", &Limits::keptBytes, &PimBsrLimitCounters::keptBytes, true},
    LimitEntry{"openBytes", &Limits::openBytes, &PimBsrLimitCounters::openBytes, true},
};

}  // namespace Routing::Pim::Bsr
