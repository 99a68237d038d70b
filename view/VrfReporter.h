/// What is told of one VRF while it runs.
#pragma once

#include "engine/ZoneWatcher.h"
#include "view/BsrReporter.h"
#include "view/CandidateReporter.h"
#include "view/LimitReporter.h"
#include "view/LinkReporter.h"
#include "view/RefusalReporter.h"
#include "view/RpReporter.h"

namespace Routing::Pim::Bsr {

/// Watches the machines, the entities and the packet port of the VRF from its start to its stop; the machines outlive
/// it. Made and ended by the EventReporter.
class VrfReporter : public ZoneWatcher, public IO::RefusalWatcher {
 public:
  VrfReporter(EventLog &log, Drops &drops, const Kiv::Ptr<Orb::TimerWheel> &wheel, const ContainerSm &machines,
              std::function<VrfView()> view, std::function<void(const L3::VrfName &vrf)> settled = {});
  /// Tells what has changed and was not told yet.
  ~VrfReporter() override;

  /// Something may be configured otherwise.
  void handleConfig();

  // What the engine and the packet port tell.
  void rpCame(const RpAt &at) override { rp_.rpCame(at); }
  void rpChanged(const RpAt &at, const Pim::RpCandidate &rp) override { rp_.rpChanged(at, rp); }
  void rpWent(const RpAt &at, const Pim::RpCandidate &rp, bool withSet) override { rp_.rpWent(at, rp, withSet); }
  void innermostChanged(const Pax::IpGenPrefix &prefix, const Pax::IpGenPrefix &before,
                        const Pax::IpGenPrefix &now) override {
    rp_.innermostChanged(prefix, before, now);
  }
  void zoneForgotten(const Pax::IpGenPrefix &zone) override { bsr_.zoneForgotten(zone); }
  void refused(const IO::Refused &refused) override { refusal_.refused(refused); }

 private:
  void settle();

  const ContainerSm &machines_;
  const std::function<void(const L3::VrfName &vrf)> settled_;  // may be empty
  Reporting reporting_;
  LinkReporter link_;
  BsrReporter bsr_;
  RpReporter rp_;
  CandidateReporter candidate_;
  LimitReporter limit_;
  RefusalReporter refusal_;
};

}  // namespace Routing::Pim::Bsr
