/// Doubtful settings that can be found without asking the system.
#pragma once

#include "daemon/file/Configuration.h"
#include "daemon/file/Findings.h"
#include "daemon/file/Places.h"

namespace Routing::Pim::Bsr {

/// To be called for a configuration without errors. docs/operator.md lists what is warned of.
void findWarnings(const Configuration &configuration, const Places &places, Findings &findings);

}  // namespace Routing::Pim::Bsr
