/// JSON as people write it into a file: comments are allowed, a key that is given twice is not.
#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

#include "daemon/file/Findings.h"

namespace Routing::Pim::Bsr {

/// Parses the text. A key that is given twice is an error, and its first value is kept; a text that is not
/// JSON gives null and an error at LINE:COLUMN.
nlohmann::json parseJson(std::string_view text, Findings &findings);

/// The path of a member; the path of the whole file is empty.
std::string pathTo(std::string_view path, std::string_view name);

}  // namespace Routing::Pim::Bsr
