/// What an earlier run of the agent left in the state store and nobody has any more.
#pragma once

#include "agent/Mounts.h"

namespace Routing::Pim::Bsr {

/// Removes status and published RP sets of VRFs that are not in the system; RootSm does so as it starts.
void removeExtraVrfs(const Mounts &mounts);
/// Removes published RPs that no zone of the VRF has learned; RootSm does so for a VRF that is new to it.
void removeExtraRps(const Status &status, RpCandidateStatus &published);

}  // namespace Routing::Pim::Bsr
