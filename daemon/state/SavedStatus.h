/// The part of a VRF's status that is saved, as JSON, with the RP set that it published.
#pragma once

#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "model/Status.h"

namespace Routing::Pim::Bsr {

nlohmann::json savedJson(const Status &status, const RpCandidateStatus &published);

/// What values are checked against.
struct SavedRange {
  Pax::AddressFamily af;
  double now;
};
/// Throws a std::exception for anything out of range, with some of it written.
void readStatus(const nlohmann::json &json, const SavedRange &range, Status &status, RpCandidateStatus &published);

/// Its members, by name; throws Kiv::RangeError unless it is an object.
const nlohmann::json::object_t &membersOf(const nlohmann::json &json);

}  // namespace Routing::Pim::Bsr
