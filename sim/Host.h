/// An agent on a simulated router.
#pragma once

#include <memory>
#include <vector>

#include "agent/Agent.h"
#include "agent/SystemState.h"
#include "platform/sim/Router.h"

namespace Sim {

/// Keeps what outlives the agent's process (the state store with configuration, status and published RP set), and
/// starts and ends that process: PIM Hellos and the agent together. The router is the default VRF, which most members
/// are about; it and those of other VRFs outlive the host.
class Host {
 public:
  explicit Host(Router &router);
  ~Host() { crash(); }
  /// One more VRF of the same box; the agent starts in it, now or with the others.
  void vrfIs(Router &router);
  /// It leaves the configuration: the agent says goodbye there, then PIM does.
  void vrfDel(Router &router);

  /// Is told of its agents, from the next start on; null for nobody.
  void watcherIs(Routing::Pim::Bsr::AgentWatcher *watcher) { watcher_ = watcher; }

  void start();
  void stop() { end(true); }    ///< in order: says goodbye to the neighbors
  void crash() { end(false); }  ///< neighbors learn nothing; the router goes on forwarding
  bool runs() const { return agent_ != nullptr; }
  /// A power failure takes what was stored along, the configuration aside.
  void powerOff();
  void powerOn() { powerIs(true); }

  Router &router() const { return router_; }
  const std::vector<Router *> &vrfs() const { return vrfs_; }  ///< the default VRF first
  Routing::Pim::Bsr::SystemState &system() { return system_; }
  Routing::Pim::Bsr::Config &config() { return *system_.configColl->vrfConfigIs(vrf); }
  const Routing::Pim::Bsr::Status &status() const;
  const Routing::Pim::RpCandidateStatus &rpSet() const { return **system_.rpCandidateStatusColl->vrfStatus(vrf); }
  /// While it runs.
  const Routing::Pim::Bsr::Agent &agent() const { return *agent_; }

  /// The elected BSR of the zone; unset when there is none.
  Pax::IpGenAddr bsr(const Pax::IpGenPrefix &zone) const;
  /// Makes the interface a border for the zone.
  void borderIs(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId);
  /// Makes the router, with the address of its loopback interface, a candidate BSR of the zone, or
  /// changes its priority.
  void candidateBsrIs(const Pax::IpGenPrefix &zone, uint16_t priority);
  void candidateBsrDel(const Pax::IpGenPrefix &zone);
  /// Makes the router, likewise, a candidate RP of the groups, besides those it has.
  Kiv::Ptr<Routing::Pim::Bsr::RpCandidateConfig> candidateRpIs(const Pax::IpGenPrefix &groups, uint16_t priority = 192);
  void candidateRpDel();

 private:
  void start(Router &router);
  void end(bool goodbye);
  void storeNew();
  void powerIs(bool power);

  static const L3::VrfName vrf;

  Router &router_;
  std::vector<Router *> vrfs_;
  Statehub::Store store_;
  Routing::Pim::Bsr::SystemState system_;
  Routing::Pim::Bsr::AgentWatcher *watcher_ = nullptr;
  std::unique_ptr<Routing::Pim::Bsr::Agent> agent_;
};

}  // namespace Sim
