/// The agent in a line.
#pragma once

#include <map>
#include <string>

#include "agent/SystemState.h"

namespace Routing::Pim::Bsr {

/// Each zone with its BSR, and each VRF that waits, in words; of many the first. `awaited` has every configured VRF,
/// with what it waits for, nothing if it runs.
std::string serviceStatus(const SystemState &system, const std::map<L3::VrfName, std::string> &awaited);

}  // namespace Routing::Pim::Bsr
