/// Brings the configuration entities to what a configuration says.
#pragma once

#include "daemon/Configuration.h"
#include "model/Config.h"

namespace Routing::Pim::Bsr {

/// Writes what differs and nothing else, so an agent that runs hears only of changes: new VRFs with
/// their values, then changed values (the hold time before the scoped-zone timeout, which is judged
/// by it), then deletions.
void configurationApply(const Configuration &configuration, ConfigColl &coll);

}  // namespace Routing::Pim::Bsr
