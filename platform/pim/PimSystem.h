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
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(set, L3::VrfName, enabledVrf, EnabledVrf)
  KIV_ENTITY(GlobalStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The PIM status of each VRF in which PIM runs.
class StatusColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(values, L3::VrfName, Kiv::Ptr<Status>, vrfStatus, VrfStatus)
  KIV_ENTITY(StatusColl, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The RP sets that the BSR agent publishes, for whoever maps groups to RPs. Written by the agent.
class RpCandidateStatusColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(values, L3::VrfName, Kiv::Ptr<RpCandidateStatus>, vrfStatus, VrfStatus)
  KIV_ENTITY(RpCandidateStatusColl, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The static RPs of one mode, by VRF.
class RpConfigColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, L3::VrfName, RpConfig, vrfConfig, VrfConfig)
  KIV_ENTITY(RpConfigColl, ATTRIBUTES)
#undef ATTRIBUTES
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
