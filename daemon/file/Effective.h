/// What `show config` prints.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "daemon/file/Configuration.h"

namespace Routing::Pim::Bsr {

/// The configuration as a complete file, with all defaults filled in. Loading it gives the same configuration.
nlohmann::ordered_json configurationJson(const Configuration &configuration);
/// That on one line. It takes long for tens of thousands of entries.
std::string effectiveText(const Configuration &configuration);

}  // namespace Routing::Pim::Bsr
