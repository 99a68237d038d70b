/// What is doubtful in a configuration, whatever machine it is for.
#pragma once

#include "daemon/file/Configuration.h"
#include "daemon/file/Findings.h"
#include "daemon/file/Places.h"

namespace Routing::Pim::Bsr {

/// In a configuration without errors.
void findWarnings(const Configuration &configuration, const Places &places, Findings &findings);

}  // namespace Routing::Pim::Bsr
