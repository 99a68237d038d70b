/// What PIM publishes about itself, by VRF. Except where it is said otherwise the platform writes it when PIM comes
/// up in a VRF, and an agent waits for it before it starts there.
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
  KIV_ENTITY_WITH(GlobalStatus, set, L3::VrfName, enabledVrf, EnabledVrf)
};

/// The PIM status of each VRF in which PIM runs.
class StatusColl : public Kiv::Entity {
  KIV_ENTITY_WITH(StatusColl, values, L3::VrfName, Kiv::Ptr<Status>, vrfStatus, VrfStatus)
};

/// The RP sets that the BSR agent publishes, for whoever maps groups to RPs. Written by the agent.
class RpCandidateStatusColl : public Kiv::Entity {
  KIV_ENTITY_WITH(RpCandidateStatusColl, values, L3::VrfName, Kiv::Ptr<RpCandidateStatus>, vrfStatus, VrfStatus)
};

/// The static RPs of one mode, by VRF.
class RpConfigColl : public Kiv::Entity {
  KIV_ENTITY_WITH(RpConfigColl, map, L3::VrfName, RpConfig, vrfConfig, VrfConfig)
};

/// The group (MRT) status of one mode in one VRF. Its RP hash status has the name "rpHash".
class GroupStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                  \
  ATTRIBUTE(pointer, RpHashStatus, rpHashStatus, RpHashStatus) \
  ATTRIBUTE(pointer, RpPrefixHashStatus, rpPrefixHashStatus, RpPrefixHashStatus)
  KIV_ENTITY(GroupStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The group status of one mode, by VRF.
class GroupStatusColl : public Kiv::Entity {
  KIV_ENTITY_WITH(GroupStatusColl, map, L3::VrfName, GroupStatus, vrfStatus, VrfStatus)
};

namespace IO {

/// The packet channel of a VRF, as it is mounted.
class ChannelStatus : public Kiv::Entity {
  KIV_ENTITY_WITH(ChannelStatus, pointer, PacketPort, port, Port)
};

}  // namespace IO

}  // namespace Routing::Pim
