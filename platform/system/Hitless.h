/// What the VRFs of an agent share during a hitless shutdown: the control plane goes away for an
/// upgrade while the forwarding plane goes on.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/pax/Ranged.h"

namespace McastCommon {

/// Whether a hitless shutdown has been asked for.
class HitlessShutdownStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(value, bool, shutdown, Shutdown, false)
  KIV_ENTITY(HitlessShutdownStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The VRFs that are ready for it.
class HitlessVrfStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(set, L3::VrfName, completedVrf, CompletedVrf)
  KIV_ENTITY(HitlessVrfStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace McastCommon
