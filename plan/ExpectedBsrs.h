/// What an imported plan expects.
#pragma once

#include <string>
#include <vector>

#include "plan/Draft.h"
#include "plan/SavedRouter.h"

namespace Planning {

/// Expects of the plan the BSRs that the routers had, each at the routers that had it. What the plan shows that it can
/// never hold, as when the configuration of a BSR is not saved, is left out: a note for people for each.
std::vector<std::string> expectBsrs(Draft &draft, const std::vector<SavedRouter> &routers, Pax::AddressFamily family);

}  // namespace Planning
