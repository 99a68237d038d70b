/// What PIM publishes of itself to the agents around it, by VRF.
#pragma once

#include "platform/flume/MessageCounters.h"
#include "platform/pax/Ranged.h"
#include "platform/pim/PacketPort.h"
#include "platform/pim/PimStatus.h"
#include "platform/pim/RpCandidateStatus.h"
#include "platform/pim/RpHashStatus.h"

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

#define NO_ATTRIBUTES(ATTRIBUTE)
/// PIM's own configuration.
class ConfigColl : public Kiv::Entity {
  KIV_ENTITY(ConfigColl, NO_ATTRIBUTES)
};
/// Static RPs of one mode in one VRF.
class RpConfig : public Kiv::Entity {
  KIV_ENTITY(RpConfig, NO_ATTRIBUTES)
};
#undef NO_ATTRIBUTES

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

/// Logs the attributes of PIM for a debugger; `show state` does that here.
class PimAttrLogSm : public Kiv::Counted {};

namespace IO {

/// Would drive PIM's own messages in the VRF. The Hello speaker, which lives as long as PIM runs
/// there, does that here, whether the agent runs or not.
class PimIOSm : public Kiv::Counted {};

/// The packet channel of a VRF, as it is mounted.
class ChannelStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(pointer, PacketPort, port, Port)
  KIV_ENTITY(ChannelStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace IO

}  // namespace Routing::Pim
