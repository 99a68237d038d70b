/// What the VRFs of an agent share during a hitless shutdown, in which the control plane stops for an upgrade
/// while forwarding goes on.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/pax/Ranged.h"

namespace McastCommon {

/// Whether a hitless shutdown has been asked for. Written by the shutdown stage, read by the machines of each VRF.
class HitlessShutdownStatus : public Kiv::Entity {
  KIV_ENTITY_WITH(HitlessShutdownStatus, value, bool, shutdown, Shutdown, false)
};

/// The VRFs that are ready for it. Each VRF writes its own entry; the stage completes when all are there.
class HitlessVrfStatus : public Kiv::Entity {
  KIV_ENTITY_WITH(HitlessVrfStatus, set, L3::VrfName, completedVrf, CompletedVrf)
};

}  // namespace McastCommon
