/// A plan of the network that saved routers are.
#pragma once

#include "plan/Draft.h"
#include "plan/Wiring.h"

namespace Planning {

/// `notes` says what had to be assumed; it is in the comments, too. The routers are of this family, and in their order.
struct ImportedPlan {
  Draft draft;
  std::vector<std::string> notes;
};
ImportedPlan importedPlanOf(const std::vector<SavedRouter> &routers, Pax::AddressFamily family);

/// The configuration without what is its default anyway. Throws std::invalid_argument where it cannot be loaded.
Draft::Json withoutDefaults(const Draft::Json &configuration, Pax::AddressFamily family);

}  // namespace Planning
