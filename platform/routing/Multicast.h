/// The multicast tables of the router, by VRF: that one is there says that multicast routing runs in the VRF.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/pax/Ranged.h"
#include "platform/system/Placeholders.h"

namespace Routing::Multicast::Rib {

/// "routing/multicast/rib/status": the multicast RIB of each VRF.
class StatusColl : public Kiv::Entity {
  KIV_ENTITY_WITH(StatusColl, map, L3::VrfName, Status, vrfStatus, VrfStatus)
};

}  // namespace Routing::Multicast::Rib
