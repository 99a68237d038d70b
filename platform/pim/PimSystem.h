/// What PIM publishes of itself to the agents around it, by VRF.
#pragma once

#include "platform/flume/MessageCounters.h"
#include "platform/pax/Ranged.h"
#include "platform/pim/PacketPort.h"
#include "platform/pim/PimStatus.h"
#include "platform/pim/RpCandidateStatus.h"
#include "platform/system/Placeholders.h"

namespace Routing::Pim {

/// The VRFs in which PIM runs.
class GlobalStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(set, L3::VrfName, enabledVrf, EnabledVrf)
  KIV_ENTITY(GlobalStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

/// PIM status of each VRF in which PIM runs.
class StatusColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(values, L3::VrfName, Kiv::Ptr<Status>, vrfStatus, VrfStatus)
  KIV_ENTITY(StatusColl, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The RP sets published by the BSR agent, for whoever maps groups to RPs.
class RpCandidateStatusColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(values, L3::VrfName, Kiv::Ptr<RpCandidateStatus>, vrfStatus, VrfStatus)
  KIV_ENTITY(RpCandidateStatusColl, ATTRIBUTES)
#undef ATTRIBUTES
};

class RpConfigColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, L3::VrfName, RpConfig, vrfConfig, VrfConfig)
  KIV_ENTITY(RpConfigColl, ATTRIBUTES)
#undef ATTRIBUTES
};

/// Group (MRT) status of one mode in one VRF. The RP hash status stands under the name "rpHash".
class GroupStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                  \
  ATTRIBUTE(pointer, RpHashStatus, rpHashStatus, RpHashStatus) \
  ATTRIBUTE(pointer, RpPrefixHashStatus, rpPrefixHashStatus, RpPrefixHashStatus)
  KIV_ENTITY(GroupStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

class GroupStatusColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, L3::VrfName, GroupStatus, vrfStatus, VrfStatus)
  KIV_ENTITY(GroupStatusColl, ATTRIBUTES)
#undef ATTRIBUTES
};

namespace IO {

/// The packet channel of a VRF, as it is mounted.
class ChannelStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(pointer, PacketPort, port, Port)
  KIV_ENTITY(ChannelStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace IO

}  // namespace Routing::Pim
