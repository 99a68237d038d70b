/// Which nodes of a plan can ever hear of one another.
#pragma once

#include <vector>

#include "plan/Plan.h"

namespace Planning {

/// By router and VRF, a number; equal for those that links lead to from one another, of whatever VRFs, cut ones
/// included.
std::vector<std::vector<size_t>> partsOf(const Plan &plan);

/// By router and VRF, whether it should have a BSR of all groups: links lead there from a router that is ever a
/// candidate. All should where none is; but one that nobody wants to be BSR for is not without one.
std::vector<std::vector<bool>> nodesNearCandidates(const Plan &plan);

}  // namespace Planning
