/// What the VRFs of an agent share during a hitless shutdown, in which the control plane stops for an upgrade
/// while forwarding goes on.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/pax/Ranged.h"

namespace McastCommon {

/// Whether a hitless shutdown has been asked for. Written by the shutdown stage, read by the machines of each VRF.
class HitlessShutdownStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(value, bool, shutdown, Shutdown, false)
  KIV_ENTITY(HitlessShutdownStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The VRFs that are ready for it. Each VRF writes its own entry; the stage completes when all are there.
class HitlessVrfStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(set, L3::VrfName, completedVrf, CompletedVrf)
  KIV_ENTITY(HitlessVrfStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace McastCommon
