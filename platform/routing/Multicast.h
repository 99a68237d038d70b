/// The multicast tables of the router, by VRF: that one is there says that multicast routing runs in the VRF.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/pax/Ranged.h"
#include "platform/system/Placeholders.h"

namespace Routing::Multicast::Rib {

/// "routing/multicast/rib/status": the multicast RIB of each VRF.
class StatusColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, L3::VrfName, Status, vrfStatus, VrfStatus)
  KIV_ENTITY(StatusColl, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace Routing::Multicast::Rib
