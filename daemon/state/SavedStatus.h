/// The part of a VRF's status that is saved, as JSON, and the RP set that it published. What follows from the
/// configuration is not saved.
#pragma once

#include <nlohmann/json.hpp>

#include "model/Status.h"

namespace Routing::Pim::Bsr {

nlohmann::json savedJson(const Status &status, const RpCandidateStatus &published);

/// What values are checked against; `now` is a time of the boot clock, in seconds.
struct SavedRange {
  Pax::AddressFamily af;
  double now;
};
/// Throws a std::exception for anything out of range, when some of it may have been written.
void readStatus(const nlohmann::json &json, const SavedRange &range, Status &status, RpCandidateStatus &published);

/// The members of an object, by name; throws Kiv::RangeError for anything else.
const nlohmann::json::object_t &membersOf(const nlohmann::json &json);

}  // namespace Routing::Pim::Bsr
