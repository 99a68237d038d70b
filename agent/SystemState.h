/// What the system around an agent publishes in the state store.
#pragma once

#include <map>

#include "agent/Mounts.h"

namespace Routing::Pim::Bsr {

/// Whoever runs an agent, on Linux or in a simulation, has one of these per agent process, and writes through it
/// what the system knows. Publishes every path that an agent mounts, the collections of all VRFs at construction. It
/// and the store live longer than the agent, so what that learned stays.
class SystemState {
  template <class Type>
  Kiv::Ptr<Type> published(const std::string &path) {
    const auto entity = Kiv::make<Type>();
    store_.publish(path, entity);
    return entity;
  }
  Statehub::Store &store_;
  const MountPaths paths_;

 public:
  SystemState(Statehub::Store &store, Pax::AddressFamily family);
  SystemState(const SystemState &) = delete;
  SystemState &operator=(const SystemState &) = delete;

  /// What PIM has in a VRF in which it runs.
  struct Services {
    Kiv::Ptr<Ip::AllIntfStatusDir> interfaces;  ///< all known
    Kiv::Ptr<Pim::Status> pimStatus;
    Kiv::Ptr<RouteLookup> routes;
    Kiv::Ptr<IO::PacketPort> port;
  };

  /// The VRF exists, with default configuration where it has none yet; its network namespace, or the vrf device in it,
  /// may come and go, and stay named meanwhile: what was learned was learned there. Where PIM runs, they stay.
  void vrfIs(const L3::VrfName &vrf, const Pax::NamespaceName &namespaceName = {}, const std::string &device = {});
  void namespaceExistsIs(const L3::VrfName &vrf, bool exists);
  /// PIM runs in the VRF: it is enabled there once everything else is published. Withdrawn in reverse, which
  /// stops an agent there without a goodbye.
  void pimIs(const L3::VrfName &vrf, const Services &services);
  void pimDel(const L3::VrfName &vrf);
  /// Null while PIM does not run in the VRF.
  const Services *services(const L3::VrfName &vrf) const;
  /// Forgets what was learned in the VRF, in which PIM does not run.
  void statusDel(const L3::VrfName &vrf);
  /// The VRF leaves the configuration. Its candidates go first, and say goodbye where an agent runs there, so the
  /// port still has to send then, to neighbors that know us.
  void vrfDel(const L3::VrfName &vrf);
  /// Whether this is the standby controller of a redundant pair, or the active one.
  void standbyIs(bool standby);

  const Pax::AddressFamily af;
  const Kiv::Ptr<Redundancy::RedundancyStatus> redundancyStatus =
      published<Redundancy::RedundancyStatus>(MountPaths::redundancyStatus());
  const Kiv::Ptr<Stage::AgentConfig> bootStageInput = published<Stage::AgentConfig>(paths_.stageInput("boot"));
  const Kiv::Ptr<Stage::AgentConfig> shutdownStageInput = published<Stage::AgentConfig>(paths_.stageInput("shutdown"));
  const Kiv::Ptr<Stage::AgentStatus> bootStageStatus = published<Stage::AgentStatus>(paths_.stageAgentStatus("boot"));
  const Kiv::Ptr<Stage::AgentStatus> shutdownStageStatus =
      published<Stage::AgentStatus>(paths_.stageAgentStatus("shutdown"));
  const Kiv::Ptr<ConfigColl> configColl = published<ConfigColl>(paths_.bsrConfigColl());
  const Kiv::Ptr<ClearConfigColl> clearConfigColl = published<ClearConfigColl>(paths_.bsrClearConfigColl());
  const Kiv::Ptr<StatusColl> statusColl = published<StatusColl>(paths_.bsrStatusColl());
  const Kiv::Ptr<RpCandidateStatusColl> rpCandidateStatusColl =
      published<RpCandidateStatusColl>(paths_.rpCandidateStatusColl());
  const Kiv::Ptr<GroupStatusColl> groupStatusColl = published<GroupStatusColl>(paths_.groupStatusColl(Mode::sparse));
  const Kiv::Ptr<GroupStatusColl> bidirGroupStatusColl =
      published<GroupStatusColl>(paths_.groupStatusColl(Mode::bidir));
  const Kiv::Ptr<RpConfigColl> rpConfigColl = published<RpConfigColl>(paths_.rpConfigColl(Mode::sparse));
  const Kiv::Ptr<RpConfigColl> bidirRpConfigColl = published<RpConfigColl>(paths_.rpConfigColl(Mode::bidir));
  const Kiv::Ptr<GlobalStatus> pimGlobalStatus = published<GlobalStatus>(paths_.pimGlobalStatus());
  const Kiv::Ptr<Pim::StatusColl> pimStatusColl = published<Pim::StatusColl>(paths_.pimStatusColl());
  const Kiv::Ptr<Multicast::Rib::StatusColl> mribStatusColl =
      published<Multicast::Rib::StatusColl>(paths_.mribStatusColl());
  const Kiv::Ptr<Ip::AllVrfStatusLocal> allVrfStatusLocal =
      published<Ip::AllVrfStatusLocal>(MountPaths::allVrfStatusLocal());
  const Kiv::Ptr<Interface::AllIntfStatusDir> allIntfStatusDir =
      published<Interface::AllIntfStatusDir>(MountPaths::allIntfStatusDir());
  const Kiv::Ptr<Acl::Input::Config> aclCli = published<Acl::Input::Config>(MountPaths::aclCli());

 private:
  template <class RouteStatus, class ForwardingStatus>
  void publishTables(const L3::VrfName &vrf, const Kiv::Ptr<RouteLookup> &routes);
  Pax::NamespaceName namespaceOf(const L3::VrfName &vrf) const;

  Kiv::Ptr<KernelNetInfo::Status> kernelInterfaces(const Pax::NamespaceName &name);
  void kernelInterfacesDel(const L3::VrfName &vrf);

  std::map<L3::VrfName, Services> services_;
  std::map<Pax::NamespaceName, Kiv::Ptr<KernelNetInfo::Status>> kernelInterfaces_;  // of what PIM runs in
};

}  // namespace Routing::Pim::Bsr
