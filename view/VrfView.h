/// A VRF as the rows about it are made from.
#pragma once

#include <map>
#include <set>
#include <vector>

#include "agent/SystemState.h"
#include "engine/PimBsrSm.h"
#include "platform/pim/RpHash.h"

namespace Routing::Pim::Bsr {

class BootstrapMessageSm;
class ConfigSm;
class ContainerSm;
class Drops;

/// The VRF as it is now; made for one answer, and read only. What comes with the namespace is null while that does
/// not exist, and the machines are null while the VRF does not run.
struct VrfView {
  L3::VrfName vrf;
  Pax::AddressFamily af = Pax::AddressFamily::unknown;
  double now = 0;  ///< on the clock of the status, in seconds
  Kiv::Ptr<const Config> config;
  std::map<Pax::IntfId, Kiv::Ptr<const IntfConfig>> intfConfig;  ///< the VRF's own
  std::vector<Pax::IntfId> pimInterfaces;                        ///< where PIM is to be on
  Kiv::Ptr<const Acl::Input::Config> ipAclConfig;
  Kiv::Ptr<const Status> status;
  Kiv::Ptr<const Ip::AllIntfStatusDir> interfaces;
  Kiv::Ptr<const Pim::Status> pimStatus;
  Kiv::Ptr<RouteLookup> routes;
  std::string networkNamespace;  ///< empty for the one in which the agent was started
  std::string device;            ///< the vrf device; empty where the VRF is not one
  Kiv::Ptr<const Flume::MessageCounters> messages;
  const Drops *drops = nullptr;  ///< of all VRFs; null where nobody notes them
  const ConfigSm *configSm = nullptr;
  PimBsrSm *bsrSm = nullptr;
  const BootstrapMessageSm *bsmGate = nullptr;
  const RpHashSm *rpHashSm = nullptr;
  const RpHashSm *bidirRpHashSm = nullptr;
};

/// Every address of the router in the VRF, those of interfaces that are down aside.
std::set<Pax::IpGenAddr> localAddresses(const VrfView &view);

/// Of a VRF that the agent knows, whose machines are null if it does not run.
VrfView viewOf(const SystemState &system, const L3::VrfName &vrf, const ContainerSm *machines, double now,
               std::vector<Pax::IntfId> pimInterfaces);

}  // namespace Routing::Pim::Bsr
