/// The JSON Schema of the configuration file.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "platform/pax/IpGenAddr.h"

namespace Routing::Pim::Bsr {

/// The JSON Schema (draft 7) of the family's configuration file, for editors and other tools. It
/// does not cover what the loader checks across members.
nlohmann::ordered_json configurationSchema(Pax::AddressFamily family);
/// As it is printed, and kept in docs/.
std::string schemaText(Pax::AddressFamily family);

}  // namespace Routing::Pim::Bsr
