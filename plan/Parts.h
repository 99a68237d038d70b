/// Which nodes of a plan can ever hear of one another.
#pragma once

#include <vector>

#include "plan/Plan.h"

namespace Planning {

/// By router and VRF, a number; equal for those that links lead to from one another, of whatever VRFs, cut ones
/// included.
std::vector<std::vector<size_t>> partsOf(const Plan &plan);

}  // namespace Planning
