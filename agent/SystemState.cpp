#include "agent/SystemState.h"

#include "platform/flume/Fib.h"

namespace Routing::Pim::Bsr {

SystemState::SystemState(Statehub::Store &store, Pax::AddressFamily family)
    : store_(store), paths_(family), af(family) {
  published<Stage::ProgressDir>(MountPaths::stageProgress("boot"));
  published<Stage::ProgressDir>(MountPaths::stageProgress("shutdown"));
  published<Stage::CompletionStatusDir>(MountPaths::stageCompletion("boot"));
  published<Stage::CompletionStatusDir>(MountPaths::stageCompletion("shutdown"));
  published<Pim::ConfigColl>(paths_.pimConfigColl());
  published<Multicast::Fib::VrfConfig>(paths_.mfibConfig());
  published<McastBoundary::Status>(paths_.mcastBoundaryStatus());
  published<Interface::AllIntfStatusLocalDir>(MountPaths::allIntfStatusLocalDir());
  published<Kiv::Dir<Acl::Input::Config>>(MountPaths::aclInput());
}

void SystemState::vrfIs(const L3::VrfName &vrf, const Pax::NamespaceName &namespaceName, const std::string &device) {
  configColl->vrfConfigIs(vrf);
  clearConfigColl->vrfClearConfigIs(vrf);
  const auto status = allVrfStatusLocal->vrfStatusIs(vrf);
  status->namespaceNameIs(namespaceName);
  status->deviceIs(device);
}

void SystemState::namespaceExistsIs(const L3::VrfName &vrf, bool exists) {
  if (const auto status = allVrfStatusLocal->vrfStatus(vrf)) status->namespaceExistsIs(exists);
}

Pax::NamespaceName SystemState::namespaceOf(const L3::VrfName &vrf) const {
  const auto status = allVrfStatusLocal->vrfStatus(vrf);
  return status ? status->namespaceName() : Pax::NamespaceName();
}

// The VRFs of a namespace share it.
Kiv::Ptr<KernelNetInfo::Status> SystemState::kernelInterfaces(const Pax::NamespaceName &name) {
  auto &status = kernelInterfaces_[name];
  if (!status) status = published<KernelNetInfo::Status>(MountPaths::kniStatus(name));
  return status;
}

void SystemState::kernelInterfacesDel(const L3::VrfName &vrf) {
  const Pax::NamespaceName name = namespaceOf(vrf);
  const auto found = kernelInterfaces_.find(name);
  if (found == kernelInterfaces_.end()) return;
  found->second->devicesDel(vrf);
  if (!found->second->devices().empty()) return;
  store_.withdraw(MountPaths::kniStatus(name));
  kernelInterfaces_.erase(found);
}

template <class RouteStatus, class ForwardingStatus>
void SystemState::publishTables(const L3::VrfName &vrf, const Kiv::Ptr<RouteLookup> &routes) {
  published<RouteStatus>(paths_.routeStatus(vrf))->routesIs(routes);
  published<ForwardingStatus>(paths_.forwardingStatus(vrf));
}

void SystemState::pimIs(const L3::VrfName &vrf, const Services &services) {
  services_[vrf] = services;
  store_.publish(paths_.messageCounters(vrf), services.port->messageCounters());
  published<IO::ChannelStatus>(paths_.channelStatus(vrf))->portIs(services.port);
  if (af == Pax::AddressFamily::ipv6) {
    publishTables<::Flume::Fib6::RouteStatus, ::Flume::Fib6::ForwardingStatus>(vrf, services.routes);
  } else {
    publishTables<::Flume::Fib::RouteStatus, ::Flume::Fib::ForwardingStatus>(vrf, services.routes);
  }
  kernelInterfaces(namespaceOf(vrf))->devicesIs(vrf, services.interfaces);
  allIntfStatusDir->vrfIntfStatusIs(vrf, services.interfaces);
  for (const auto &coll : {groupStatusColl, bidirGroupStatusColl}) {
    const auto group = coll->vrfStatusIs(vrf);
    group->rpHashStatusIs(Kiv::make<RpHashStatus>("rpHash"));
    group->rpPrefixHashStatusIs(Kiv::make<RpPrefixHashStatus>("rpPrefixHash"));
  }
  mribStatusColl->vrfStatusIs(vrf);
  for (const auto &coll : {rpConfigColl, bidirRpConfigColl}) coll->vrfConfigIs(vrf);
  pimStatusColl->vrfStatusIs(vrf, services.pimStatus);
  pimGlobalStatus->enabledVrfIs(vrf);
}

void SystemState::pimDel(const L3::VrfName &vrf) {
  if (!pimGlobalStatus->enabledVrf(vrf)) return;
  services_.erase(vrf);
  pimGlobalStatus->enabledVrfDel(vrf);
  pimStatusColl->vrfStatusDel(vrf);
  for (const auto &coll : {rpConfigColl, bidirRpConfigColl}) coll->vrfConfigDel(vrf);
  mribStatusColl->vrfStatusDel(vrf);
  for (const auto &coll : {groupStatusColl, bidirGroupStatusColl}) coll->vrfStatusDel(vrf);
  allIntfStatusDir->vrfIntfStatusDel(vrf);
  kernelInterfacesDel(vrf);
  store_.withdraw(paths_.forwardingStatus(vrf));
  store_.withdraw(paths_.routeStatus(vrf));
  store_.withdraw(paths_.channelStatus(vrf));
  store_.withdraw(paths_.messageCounters(vrf));
}

// An agent that runs forgets a VRF that is gone, and one that stands by learns nothing.
void SystemState::statusDel(const L3::VrfName &vrf) {
  allVrfStatusLocal->vrfStatusDel(vrf);
  statusColl->vrfStatusDel(vrf);
  rpCandidateStatusColl->vrfStatusDel(vrf);
}

const SystemState::Services *SystemState::services(const L3::VrfName &vrf) const {
  const auto found = services_.find(vrf);
  return found == services_.end() ? nullptr : &found->second;
}

void SystemState::standbyIs(bool standby) {
  redundancyStatus->modeIs(standby ? Redundancy::ControllerMode::standby : Redundancy::ControllerMode::active);
  redundancyStatus->protocolIs(Redundancy::Protocol::hotStandby);
}

// The RPs first, so that the last message of a BSR lists its own with hold time 0.
void SystemState::vrfDel(const L3::VrfName &vrf) {
  if (const auto config = configColl->vrfConfig(vrf)) {
    config->rpCandidateConfigDelAll();
    config->bsrCandidateConfigDelAll();
  }
  configColl->vrfConfigDel(vrf);
  pimDel(vrf);
  allVrfStatusLocal->vrfStatusDel(vrf);
  clearConfigColl->vrfClearConfigDel(vrf);
}

}  // namespace Routing::Pim::Bsr
