/// An agent on a simulated router.
#pragma once

#include <memory>

#include "agent/ContainerSm.h"
#include "platform/sim/Router.h"

namespace Sim {

/// Keeps what outlives the agent's process (configuration, status, published RP set) and starts and
/// ends that process: PIM Hellos and the agent's machines together. The router outlives its host.
class Host {
 public:
  explicit Host(Router &router);
  ~Host();

  void start(const Router::HelloParameters &parameters = {});
  void stop() { end(true); }    ///< in order: says goodbye to the neighbours
  void crash() { end(false); }  ///< neighbours learn nothing; the router goes on forwarding
  bool runs() const { return agent_ != nullptr; }
  /// A power failure takes what was stored along, the configuration aside.
  void powerOff();
  void powerOn() { router_.powerIs(true); }

  Router &router() const { return router_; }
  Routing::Pim::Bsr::Config &config() { return *config_; }
  const Routing::Pim::Bsr::Status &status() const { return *status_; }
  const Routing::Pim::RpCandidateStatus &rpSet() const { return *rpSet_; }
  /// While it runs.
  const Routing::Pim::Bsr::ContainerSm &agent() const { return *agent_; }

  /// The elected BSR of the zone; unset when there is none.
  Pax::IpGenAddr bsr(const Pax::IpGenPrefix &zone) const;
  /// Makes the interface a border for the zone.
  void borderIs(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId);
  /// Makes the router a candidate BSR of the zone that accepts every candidate RP, or changes it.
  Kiv::Ptr<Routing::Pim::Bsr::BsrCandidate> candidateBsrIs(const Pax::IpGenPrefix &zone, uint16_t priority);
  void candidateBsrDel(const Pax::IpGenPrefix &zone) { status_->cbsrDel(zone); }
  /// Makes the router a candidate RP of the groups, besides those it has.
  Kiv::Ptr<Routing::Pim::Bsr::RpCandidate> candidateRpIs(const Pax::IpGenPrefix &groups, uint16_t priority = 192);
  void candidateRpDel() { status_->crpDel(router_.address()); }

 private:
  void end(bool goodbye);
  void storeNew();

  Router &router_;
  const Kiv::Ptr<Routing::Pim::Bsr::Config> config_;
  const Kiv::Ptr<Routing::Pim::Bsr::VrfIntfConfig> vrfIntfConfig_;
  const Kiv::Ptr<Routing::Pim::Bsr::ClearConfig> clearConfig_;
  Kiv::Ptr<Routing::Pim::Bsr::Status> status_;
  Kiv::Ptr<Routing::Pim::RpCandidateStatus> rpSet_;
  std::unique_ptr<Routing::Pim::Bsr::ContainerSm> agent_;
};

}  // namespace Sim
