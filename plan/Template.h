/// Configurations that are made from a pattern.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace Planning {

/// Puts the members of `values` where the pattern has ${NAME}: a text that is nothing else becomes the value itself;
/// within a text, or in the name of a member, a value that is a text or a number stands in its place. Throws
/// std::invalid_argument for a name without a value.
nlohmann::json filled(const nlohmann::json &pattern, const nlohmann::json &values);

}  // namespace Planning
