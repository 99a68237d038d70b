#include "view/EventReporter.h"

#include <algorithm>

#include "agent/ContainerSm.h"
#include "view/VrfReporter.h"

namespace Routing::Pim::Bsr {

class EventReporter::KivRedundancy : public Kiv::ReactorOf<Redundancy::RedundancyStatus, EventReporter> {
 public:
  using ReactorOf::ReactorOf;
  void onMode() override { owner_.handleRole(); }
  void onProtocol() override { owner_.handleRole(); }
};

class EventReporter::KivStage : public Kiv::ReactorOf<Stage::AgentStatus, EventReporter> {
 public:
  using ReactorOf::ReactorOf;
  void onCompleteStage(const std::string &stage) override {
    if (notifier()->completeStage(stage)) owner_.handleStage(stage);
  }
};

class EventReporter::KivVrfs : public Kiv::ReactorOf<Ip::AllVrfStatusLocal, EventReporter> {
 public:
  using ReactorOf::ReactorOf;
  void onVrfStatus(const L3::VrfName &vrf) override { owner_.handleVrf(vrf); }
};

EventReporter::EventReporter(Process process)
    : process_(std::move(process)),
      standby_(process_.system.redundancyStatus->standby()),
      timer_(process_.wheel, *this),
      kivRedundancy_(std::make_unique<KivRedundancy>(*this, process_.system.redundancyStatus)),
      kivBootStage_(std::make_unique<KivStage>(*this, process_.system.bootStageStatus)),
      kivShutdownStage_(std::make_unique<KivStage>(*this, process_.system.shutdownStageStatus)),
      kivVrfs_(std::make_unique<KivVrfs>(*this, process_.system.allVrfStatusLocal)) {
  look(patience);
}

EventReporter::~EventReporter() = default;

void EventReporter::tell(EventKind kind, Severity severity, const L3::VrfName &vrf, const std::string &text,
                         const std::string &cause) {
  Event event{.kind = kind, .severity = severity, .vrf = vrf};
  event.cause = cause;
  event.text = text;
  process_.log.tell(std::move(event));
}

void EventReporter::started(const std::string &name, const std::string &version, const std::string &remark) {
  const std::string found = whatIsThere();
  tell(EventKind::agentStarted, remark.empty() ? Severity::notice : Severity::warning,
       sentence(name, ' ', version, " started", standby_ ? " as the standby controller" : "",
                found.empty() ? "" : ", with " + found + " from before", remark.empty() ? "" : "; " + remark));
}

void EventReporter::stopping(const std::string &name) {
  stopping_ = true;
  tell(EventKind::agentStopping, Severity::notice, name + " stops");
}

std::string EventReporter::whatIsThere() const {
  size_t bsrs = 0, rps = 0;
  for (const auto &[vrf, status] : process_.system.statusColl->vrfStatus()) {
    bsrs += status->bootstrapRouter().size();
    for (const auto &[zone, zoneStatus] : status->crpStatus()) {
      if (!zoneStatus->status()) continue;
      for (const auto &[prefix, set] : zoneStatus->status()->crpSet()) rps += set->rp().size();
    }
  }
  return bsrs + rps == 0 ? ""
                         : sentence(bsrs == 1 ? "the BSR of " : "the BSRs of ", bsrs,
                                    bsrs == 1 ? " zone and " : " zones and ", rps, rps == 1 ? " RP" : " RPs");
}

void EventReporter::handleConfig() {
  for (const auto &[vrf, reporter] : running_) reporter->handleConfig();
}

void EventReporter::handleRole() {
  const bool standby = process_.system.redundancyStatus->standby();
  if (standby == std::exchange(standby_, standby)) return;
  tell(EventKind::roleChanged, Severity::notice,
       standby ? "The agent stands by: it keeps what it knows and sends nothing" : "The agent is active");
}

void EventReporter::handleStage(const std::string &stage) {
  tell(EventKind::stageComplete, Severity::notice, "Stage " + stage + " is complete");
}

void EventReporter::handleVrf(const L3::VrfName &vrf) {
  waiting_.erase(vrf);
  look(patience);
}

void EventReporter::vrfRuns(const L3::VrfName &vrf, const ContainerSm &machines) {
  waiting_.erase(vrf);
  tell(EventKind::vrfRuns, Severity::notice, vrf, sentence("The agent runs in VRF ", vrf), "");
  running_[vrf] = std::make_unique<VrfReporter>(
      process_.log, process_.drops, process_.wheel, machines,
      [this, vrf, &machines] {
        return viewOf(process_.system, vrf, &machines, process_.wheel->now(), process_.pimInterfaces(vrf));
      },
      process_.settled);
}

void EventReporter::vrfStops(const L3::VrfName &vrf) {
  running_.erase(vrf);
  look(0);
}

void EventReporter::look(double time) {
  const double at = process_.wheel->now() + time;
  if (!timer_.armed() || at < timer_.timeMin()) timer_.timeMinIs(at);
}

void EventReporter::lookAtVrfs() {
  if (stopping_ || standby_) return;
  for (const L3::VrfName &vrf : process_.system.allVrfStatusLocal->vrfStatus().keys()) {
    if (running_.contains(vrf)) continue;
    const std::string awaited = process_.awaited(vrf);
    if (awaited.empty() || std::exchange(waiting_[vrf], awaited) == awaited) continue;
    tell(EventKind::vrfWaits, Severity::warning, vrf, sentence("VRF ", vrf, " waits for ", awaited), awaited);
  }
}

}  // namespace Routing::Pim::Bsr
