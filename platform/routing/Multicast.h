/// The multicast tables of the router that a VRF's agent waits for. Nothing here reads what they
/// hold; that they are there says that multicast routing runs in the VRF.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/pax/Ranged.h"

namespace Routing {

#define NO_ATTRIBUTES(ATTRIBUTE)

namespace Multicast::Rib {

class Status : public Kiv::Entity {
  KIV_ENTITY(Status, NO_ATTRIBUTES)
};

/// "routing/multicast/rib/status".
class StatusColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, L3::VrfName, Status, vrfStatus, VrfStatus)
  KIV_ENTITY(StatusColl, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace Multicast::Rib

namespace Multicast::Fib {

class VrfConfig : public Kiv::Entity {
  KIV_ENTITY(VrfConfig, NO_ATTRIBUTES)
};

}  // namespace Multicast::Fib

namespace McastBoundary {

class Status : public Kiv::Entity {
  KIV_ENTITY(Status, NO_ATTRIBUTES)
};

}  // namespace McastBoundary

#undef NO_ATTRIBUTES

}  // namespace Routing
