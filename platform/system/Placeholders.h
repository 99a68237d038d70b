/// Placeholders: types of a router around us of which the agent needs the name only.
///
/// Their entities are published and mounted, since a VRF starts only when they are there, and nothing here reads
/// what they would hold; the machines among them would do what is done elsewhere here, or not at all.
#pragma once

#include "platform/kiv/Attributes.h"

#define PLACEHOLDER(Type)               \
  class Type : public Kiv::Entity {     \
    KIV_ENTITY(Type, KIV_NO_ATTRIBUTES) \
  };
#define NAMED_PLACEHOLDER(Type)          \
  class Type : public Kiv::NamedEntity { \
   public:                               \
    using NamedEntity::NamedEntity;      \
    KIV_ENTITY(Type, KIV_NO_ATTRIBUTES)  \
  };

namespace Flume {

/// The unicast forwarding tables: "forwarding/status", and "forwarding/vrf/status/NAME" outside the default VRF.
namespace Fib {
PLACEHOLDER(ForwardingStatus)
}
namespace Fib6 {
class ForwardingStatus : public Fib::ForwardingStatus {};
}  // namespace Fib6

}  // namespace Flume

namespace Interface {
/// "interface/status/local".
PLACEHOLDER(AllIntfStatusLocalDir)
}  // namespace Interface

namespace Ip {
/// Would keep the addresses of both families together; AllIntfStatusDir is of the agent's family already.
class IpGenIntfSm : public Kiv::Counted {};
}  // namespace Ip

namespace Stage {
/// Where the whole system is in its stages, and which of them it has completed.
PLACEHOLDER(ProgressDir)
PLACEHOLDER(CompletionStatusDir)
}  // namespace Stage

namespace Routing {

/// Multicast routes, multicast forwarding and multicast boundaries.
namespace Multicast::Rib {
PLACEHOLDER(Status)
}
namespace Multicast::Fib {
PLACEHOLDER(VrfConfig)
}
namespace McastBoundary {
PLACEHOLDER(Status)
}

namespace Pim {

/// PIM's own configuration, and the static RPs of one mode in one VRF.
PLACEHOLDER(ConfigColl)
PLACEHOLDER(RpConfig)

/// The group-to-RP mapping of a VRF and mode. RpHashSm keeps none: it answers when it is asked.
NAMED_PLACEHOLDER(RpHashStatus)
NAMED_PLACEHOLDER(RpPrefixHashStatus)

/// Logs the attributes of PIM for a debugger; `show state` does that here.
class PimAttrLogSm : public Kiv::Counted {};

namespace IO {
/// Would drive PIM's own messages in the VRF; the Hello speaker does that here.
class PimIOSm : public Kiv::Counted {};
}  // namespace IO

}  // namespace Pim

}  // namespace Routing

#undef NAMED_PLACEHOLDER
#undef PLACEHOLDER
