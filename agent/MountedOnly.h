/// The state of a VRF that is mounted and that no machine of ours reads.
#pragma once

#include "platform/flume/Fib.h"
#include "platform/ip/VrfStatus.h"
#include "platform/pim/PimSystem.h"
#include "platform/system/Placeholders.h"

namespace Routing::Pim::Bsr {

/// Part of a Container, which VrfStart fills. A VRF starts only when all of it is there.
struct MountedOnly {
  Kiv::Ptr<const ::Flume::Fib::ForwardingStatus> uribFec;    ///< of IPv4, null for IPv6
  Kiv::Ptr<const ::Flume::Fib6::ForwardingStatus> urib6Fec;  ///< and the other way round
  Pax::NamespaceName namespaceName;
  Kiv::Ptr<const Ip::AllIntfStatusDir> kernelIntfStatusDir;
  Kiv::Ptr<const Pim::ConfigColl> pimConfigColl;
  Kiv::Ptr<PimAttrLogSm> pimAttrLogSm;
  Kiv::Ptr<const RpHashStatus> rpHashStatus;
  Kiv::Ptr<const RpPrefixHashStatus> rpPrefixHashStatus, bidirRpPrefixHashStatus;
  Kiv::Ptr<const GroupStatus> groupMrtStatus, bidirGroupMrtStatus;
  Kiv::Ptr<const Multicast::Fib::VrfConfig> mfibConfig;
  Kiv::Ptr<const McastBoundary::Status> mcastBoundaryStatus;
  Kiv::Ptr<const Interface::AllIntfStatusDir> allIntfStatusDir;
  Kiv::Ptr<const Interface::AllIntfStatusLocalDir> allIntfStatusLocalDir;
  Kiv::Ptr<const RpConfig> rpConfig, bidirRpConfig;
};

}  // namespace Routing::Pim::Bsr
