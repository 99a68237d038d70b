/// The generic view of the state store.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string_view>

#include "platform/kiv/Entity.h"

namespace Routing::Pim::Bsr {

/// Each attribute is a member of its name: numbers, booleans and texts as they are, a child as its own attributes or
/// null, a set as an array, any other collection as an object by key.
nlohmann::json toJson(const Kiv::Entity &entity);

/// The member of `json` to which the path leads, member by member with '/' between; a name may have slashes
/// of its own. Null when there is none.
const nlohmann::json *memberAt(const nlohmann::json &json, std::string_view path);

}  // namespace Routing::Pim::Bsr
