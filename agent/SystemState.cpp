#include "agent/SystemState.h"

#include "platform/flume/Fib.h"

namespace Routing::Pim::Bsr {

namespace {

template <class Type>
Kiv::Ptr<Type> published(Statehub::Store &store, const std::string &path) {
  const auto entity = Kiv::make<Type>();
  store.publish(path, entity);
  return entity;
}

}  // namespace

SystemState::SystemState(Statehub::Store &store, Pax::AddressFamily family)
    : af(family),
      redundancyStatus(published<Redundancy::RedundancyStatus>(store, MountPaths::redundancyStatus())),
      bootStageInput(published<Stage::AgentConfig>(store, MountPaths(family).stageInput("boot"))),
      shutdownStageInput(published<Stage::AgentConfig>(store, MountPaths(family).stageInput("shutdown"))),
      bootStageStatus(published<Stage::AgentStatus>(store, MountPaths(family).stageAgentStatus("boot"))),
      shutdownStageStatus(published<Stage::AgentStatus>(store, MountPaths(family).stageAgentStatus("shutdown"))),
      configColl(published<ConfigColl>(store, MountPaths(family).bsrConfigColl())),
      clearConfigColl(published<ClearConfigColl>(store, MountPaths(family).bsrClearConfigColl())),
      statusColl(published<StatusColl>(store, MountPaths(family).bsrStatusColl())),
      rpCandidateStatusColl(published<RpCandidateStatusColl>(store, MountPaths(family).rpCandidateStatusColl())),
      groupStatusColl(published<GroupStatusColl>(store, MountPaths(family).groupStatusColl(Mode::sparse))),
      bidirGroupStatusColl(published<GroupStatusColl>(store, MountPaths(family).groupStatusColl(Mode::bidir))),
      rpConfigColl(published<RpConfigColl>(store, MountPaths(family).rpConfigColl(Mode::sparse))),
      bidirRpConfigColl(published<RpConfigColl>(store, MountPaths(family).rpConfigColl(Mode::bidir))),
      pimGlobalStatus(published<GlobalStatus>(store, MountPaths(family).pimGlobalStatus())),
      pimStatusColl(published<Pim::StatusColl>(store, MountPaths(family).pimStatusColl())),
      mribStatusColl(published<Multicast::Rib::StatusColl>(store, MountPaths(family).mribStatusColl())),
      allVrfStatusLocal(published<Ip::AllVrfStatusLocal>(store, MountPaths::allVrfStatusLocal())),
      allIntfStatusDir(published<Interface::AllIntfStatusDir>(store, MountPaths::allIntfStatusDir())),
      aclCli(published<Acl::Input::Config>(store, MountPaths::aclCli())),
      store_(store),
      paths_(family) {
  published<Stage::ProgressDir>(store, MountPaths::stageProgress("boot"));
  published<Stage::ProgressDir>(store, MountPaths::stageProgress("shutdown"));
  published<Stage::CompletionStatusDir>(store, MountPaths::stageCompletion("boot"));
  published<Stage::CompletionStatusDir>(store, MountPaths::stageCompletion("shutdown"));
  published<Pim::ConfigColl>(store, paths_.pimConfigColl());
  published<Multicast::Fib::VrfConfig>(store, paths_.mfibConfig());
  published<McastBoundary::Status>(store, paths_.mcastBoundaryStatus());
  published<Interface::AllIntfStatusLocalDir>(store, MountPaths::allIntfStatusLocalDir());
  published<Kiv::Dir<Acl::Input::Config>>(store, MountPaths::aclInput());
}

void SystemState::vrfIs(const L3::VrfName &vrf, const Pax::NamespaceName &namespaceName) {
  configColl->vrfConfigIs(vrf);
  clearConfigColl->vrfClearConfigIs(vrf);
  allVrfStatusLocal->vrfStatusIs(vrf)->namespaceNameIs(namespaceName);
}

void SystemState::namespaceExistsIs(const L3::VrfName &vrf, bool exists) {
  if (const auto status = allVrfStatusLocal->vrfStatus(vrf)) status->namespaceExistsIs(exists);
}

Pax::NamespaceName SystemState::namespaceOf(const L3::VrfName &vrf) const {
  const auto status = allVrfStatusLocal->vrfStatus(vrf);
  return status ? status->namespaceName() : Pax::NamespaceName();
}

template <class RouteStatus, class ForwardingStatus>
void SystemState::publishTables(const L3::VrfName &vrf, const Kiv::Ptr<RouteLookup> &routes) {
  published<RouteStatus>(store_, paths_.routeStatus(vrf))->routesIs(routes);
  published<ForwardingStatus>(store_, paths_.forwardingStatus(vrf));
}

void SystemState::pimIs(const L3::VrfName &vrf, const Services &services) {
  services_[vrf] = services;
  store_.publish(paths_.messageCounters(vrf), services.port->messageCounters());
  published<IO::ChannelStatus>(store_, paths_.channelStatus(vrf))->portIs(services.port);
  if (af == Pax::AddressFamily::ipv6) {
    publishTables<::Flume::Fib6::RouteStatus, ::Flume::Fib6::ForwardingStatus>(vrf, services.routes);
  } else {
    publishTables<::Flume::Fib::RouteStatus, ::Flume::Fib::ForwardingStatus>(vrf, services.routes);
  }
  published<KernelNetInfo::Status>(store_, MountPaths::kniStatus(namespaceOf(vrf)))->devicesIs(services.interfaces);
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
  store_.withdraw(MountPaths::kniStatus(namespaceOf(vrf)));
  store_.withdraw(paths_.forwardingStatus(vrf));
  store_.withdraw(paths_.routeStatus(vrf));
  store_.withdraw(paths_.channelStatus(vrf));
  store_.withdraw(paths_.messageCounters(vrf));
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
