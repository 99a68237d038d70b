/// What `show config` prints.
#pragma once

#include <nlohmann/json.hpp>

#include "daemon/file/Configuration.h"

namespace Routing::Pim::Bsr {

/// The configuration as a file that says all of it, defaults filled in: loaded, it gives the same.
nlohmann::ordered_json configurationJson(const Configuration &configuration);

}  // namespace Routing::Pim::Bsr
