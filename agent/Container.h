/// The mounted state of one VRF.
#pragma once

#include "agent/MountedOnly.h"
#include "model/Config.h"
#include "model/Status.h"
#include "platform/acl/Acl.h"
#include "platform/flume/MessageCounters.h"
#include "platform/orb/Random.h"
#include "platform/orb/TimerWheel.h"
#include "platform/routing/Multicast.h"
#include "platform/system/Hitless.h"

namespace Routing::Pim::Bsr {

/// What the VRF's machines work on; owned by the agent, and all of it outlives the VRF's ContainerSm.
struct Container : MountedOnly {
  // As long as the VRF is known, whether it runs or not. The clock, the waker and the random source
  // belong to the process, or to the simulated router.
  L3::VrfName vrf;
  Orb::Clock *clock = nullptr;
  Orb::Waker *waker = nullptr;
  Orb::Random *random = nullptr;
  Kiv::Ptr<McastCommon::HitlessVrfStatus> hitlessClientVrfStatus;
  Kiv::Ptr<const McastCommon::HitlessShutdownStatus> hitlessClientShutdownStatus;
  Kiv::Ptr<const ConfigColl> configColl;  ///< has the configuration of every interface of every VRF
  Kiv::Ptr<VrfIntfConfig> vrfIntfConfig;  ///< the VRF's own part of that; IntfConfigFill writes it
  Kiv::Ptr<Status> status;
  Kiv::Ptr<RpCandidateStatus> rpCandidateStatus;  ///< the RP set published for this VRF

  // Filled by VrfStart whenever the VRF starts.
  Kiv::Ptr<const ::Flume::Fib::RouteStatus> uribStatus;    ///< of IPv4, null for IPv6
  Kiv::Ptr<const ::Flume::Fib6::RouteStatus> urib6Status;  ///< and the other way round
  Pax::AddressFamily af = Pax::AddressFamily::unknown;
  Kiv::Ptr<const Config> config;
  Kiv::Ptr<const ClearConfig> clearConfig;
  Kiv::Ptr<const Ip::AllIntfStatusDir> vrfIpStatus;
  Kiv::Ptr<const RpHashStatus> bidirRpHashStatus;  ///< null where no bidirectional RPs are asked for
  Kiv::Ptr<const Pim::Status> pimStatus;
  Kiv::Ptr<Flume::MessageCounters> pimCounters;
  Kiv::Ptr<const Multicast::Rib::Status> mribStatus;
  Kiv::Ptr<const Acl::Input::Config> ipAclConfig;
  Kiv::Ptr<IO::PacketPort> packetPort;  ///< the way to the VRF's packets
};

}  // namespace Routing::Pim::Bsr
