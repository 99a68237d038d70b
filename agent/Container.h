/// The mounted state of one VRF.
#pragma once

#include "model/Config.h"
#include "model/Status.h"
#include "platform/acl/Acl.h"
#include "platform/flume/Fib.h"
#include "platform/flume/MessageCounters.h"
#include "platform/ip/VrfStatus.h"
#include "platform/orb/Random.h"
#include "platform/orb/TimerWheel.h"
#include "platform/pim/PimSystem.h"
#include "platform/routing/Multicast.h"
#include "platform/system/Hitless.h"

namespace Routing::Pim::Bsr {

/// Filled by RootSm when PIM becomes enabled in the VRF, in this order; everything in it outlives
/// the VRF's ContainerSm. The clock, the waker and the random source belong to the process (or to the
/// simulated router).
struct Container {
  L3::VrfName vrf;
  Orb::Clock *clock = nullptr;
  Orb::Waker *waker = nullptr;
  Orb::Random *random = nullptr;
  /// These are there as long as the VRF, whether it runs or not.
  Kiv::Ptr<VrfIntfConfig> vrfIntfConfig;
  Kiv::Ptr<Status> status;                        ///< outlives stops and restarts
  Kiv::Ptr<RpCandidateStatus> rpCandidateStatus;  ///< the RP set published for this VRF

  Kiv::Ptr<const ::Flume::Fib::RouteStatus> uribStatus;  ///< of IPv4, null for IPv6
  Kiv::Ptr<const ::Flume::Fib::ForwardingStatus> uribFec;
  Kiv::Ptr<const ::Flume::Fib6::RouteStatus> urib6Status;  ///< and the other way round
  Kiv::Ptr<const ::Flume::Fib6::ForwardingStatus> urib6Fec;
  Pax::AddressFamily af = Pax::AddressFamily::unknown;
  Pax::NamespaceName namespaceName;
  Kiv::Ptr<const Ip::AllIntfStatusDir> kernelIntfStatusDir;
  Kiv::Ptr<const Config> config;
  Kiv::Ptr<const ClearConfig> clearConfig;
  Kiv::Ptr<const Pim::ConfigColl> pimConfigColl;
  Kiv::Ptr<const Ip::AllIntfStatusDir> vrfIpStatus;
  Kiv::Ptr<PimAttrLogSm> pimAttrLogSm;
  Kiv::Ptr<const RpHashStatus> rpHashStatus, bidirRpHashStatus;
  Kiv::Ptr<const RpPrefixHashStatus> rpPrefixHashStatus, bidirRpPrefixHashStatus;
  Kiv::Ptr<const GroupStatus> groupMrtStatus, bidirGroupMrtStatus;
  Kiv::Ptr<const Pim::Status> pimStatus;
  Kiv::Ptr<Flume::MessageCounters> pimCounters;
  Kiv::Ptr<const Multicast::Fib::VrfConfig> mfibConfig;
  Kiv::Ptr<const Multicast::Rib::Status> mribStatus;
  Kiv::Ptr<const McastBoundary::Status> mcastBoundaryStatus;
  Kiv::Ptr<const Interface::AllIntfStatusDir> allIntfStatusDir;
  Kiv::Ptr<const Interface::AllIntfStatusLocalDir> allIntfStatusLocalDir;
  Kiv::Ptr<const Acl::Input::Config> ipAclConfig;
  Kiv::Ptr<const RpConfig> rpConfig, bidirRpConfig;
  Kiv::Ptr<McastCommon::HitlessVrfStatus> hitlessClientVrfStatus;
  Kiv::Ptr<const McastCommon::HitlessShutdownStatus> hitlessClientShutdownStatus;

  /// The configuration of every interface, of which `vrfIntfConfig` gets the VRF's own.
  Kiv::Ptr<const ConfigColl> configColl;
  /// The way to the VRF's packets.
  Kiv::Ptr<IO::PacketPort> packetPort;
};

}  // namespace Routing::Pim::Bsr
