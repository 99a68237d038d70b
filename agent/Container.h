/// What the platform gives the agent for one VRF.
#pragma once

#include "model/Config.h"
#include "model/Status.h"
#include "platform/acl/Acl.h"
#include "platform/flume/MessageCounters.h"
#include "platform/ip/IntfStatus.h"
#include "platform/orb/Random.h"
#include "platform/orb/TimerWheel.h"
#include "platform/pim/PacketPort.h"
#include "platform/pim/PimStatus.h"
#include "platform/routing/RouteLookup.h"

namespace Routing::Pim::Bsr {

/// Filled by whoever hosts the VRF; everything in it outlives the VRF's ContainerSm. The clock, the
/// waker and the random source belong to the process (or to the simulated router).
struct Container {
  L3::VrfName vrf;
  Pax::AddressFamily af = Pax::AddressFamily::unknown;
  Orb::Clock *clock = nullptr;
  Orb::Waker *waker = nullptr;
  Orb::Random *random = nullptr;

  Kiv::Ptr<const Config> config;
  Kiv::Ptr<const VrfIntfConfig> vrfIntfConfig;
  Kiv::Ptr<const ClearConfig> clearConfig;
  Kiv::Ptr<Status> status;                        ///< outlives stops and restarts
  Kiv::Ptr<RpCandidateStatus> rpCandidateStatus;  ///< the RP set published for this VRF

  Kiv::Ptr<const Pim::Status> pimStatus;
  Kiv::Ptr<Flume::MessageCounters> pimCounters;
  Kiv::Ptr<const Ip::AllIntfStatusDir> allIntfStatusDir;
  Kiv::Ptr<const Acl::Input::Config> ipAclConfig;
  Kiv::Ptr<RouteLookup> routes;
  Kiv::Ptr<IO::PacketPort> packetPort;
};

}  // namespace Routing::Pim::Bsr
