#include "view/BsrReporter.h"

#include <utility>

#include "engine/BsrCandidateSm.h"
#include "model/InternalStatus.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

class BsrReporter::KivBsr : public Kiv::ReactorOf<ElectedBsrStatus, BsrReporter> {
 public:
  using ReactorOf::ReactorOf;
  void onIpAddr() override { owner_.changed(notifier()->zone()); }
  void onPriority() override { owner_.changed(notifier()->zone()); }
};

class BsrReporter::KivCandidate : public Kiv::ReactorOf<BsrCandidate, BsrReporter> {
 public:
  KivCandidate(BsrReporter &owner, const Pax::IpGenPrefix &zone, const Kiv::Ptr<const BsrCandidate> &candidate)
      : ReactorOf(owner, candidate), zone_(zone) {}
  void onState() override { owner_.changed(zone_); }
  void onElected() override { owner_.changed(zone_); }

 private:
  const Pax::IpGenPrefix zone_;
};

class BsrReporter::KivStatus : public Kiv::ReactorOf<Status, BsrReporter> {
 public:
  using ReactorOf::ReactorOf;
  void onBootstrapRouter(const Pax::IpGenPrefix &zone) override {
    owner_.handleBootstrapRouter(zone);
    owner_.changed(zone);
  }
  void onCbsr(const Pax::IpGenPrefix &zone) override {
    owner_.handleCandidate(zone);
    owner_.changed(zone);
  }
};

BsrReporter::BsrReporter(Reporting &reporting, const Kiv::Ptr<const Status> &status)
    : reporting_(reporting),
      status_(status),
      global_(Pax::allGroups(status->af())),
      kivStatus_(std::make_unique<KivStatus>(*this, status)) {
  for (const Pax::IpGenPrefix &zone : status->cbsr().keys()) handleCandidate(zone);
  for (const Pax::IpGenPrefix &zone : status->bootstrapRouter().keys()) {
    handleBootstrapRouter(zone);
    known_[zone] = known(zone);
    if (zone != global_) zones_.insert(zone);
  }
}

BsrReporter::~BsrReporter() = default;

void BsrReporter::handleBootstrapRouter(const Pax::IpGenPrefix &zone) {
  const auto gone = std::exchange(bsr_[zone], nullptr);
  if (const auto bsr = status_->bootstrapRouter(zone)) {
    bsr_[zone] = std::make_unique<KivBsr>(*this, bsr);
  } else {
    bsr_.erase(zone);
    if (gone && gone->notifier()->expiryTime() <= reporting_.now()) timedOut_.insert(zone);
  }
}

void BsrReporter::handleCandidate(const Pax::IpGenPrefix &zone) {
  const auto candidate = status_->cbsr(zone);
  candidate_.erase(zone);
  if (candidate) candidate_[zone] = std::make_unique<KivCandidate>(*this, zone, candidate);
}

Pax::IpGenAddr BsrReporter::lastTold(const Pax::IpGenPrefix &zone) const {
  const auto told = known_.find(zone);
  return told == known_.end() ? Pax::IpGenAddr() : told->second.bsr;
}

void BsrReporter::changed(const Pax::IpGenPrefix &zone) {
  changed_.insert(zone);
  reporting_.settleSoon();
}

BsrReporter::Known BsrReporter::known(const Pax::IpGenPrefix &zone) const {
  Known result;
  const auto candidate = status_->cbsr(zone);
  if (candidate) result.state = candidate->state();
  const auto bsr = status_->bootstrapRouter(zone);
  if (!bsr) return result;
  result.bsr = bsr->ipAddr();
  result.priority = bsr->priority();
  result.isOurs = candidate && candidate->elected() && candidate->address() == bsr->ipAddr();
  result.isSilent = candidate && !result.isOurs && candidate->state() == BsrCandidateState::pBsr &&
                    bsr->expiryTime() <= reporting_.now();
  return result;
}

void BsrReporter::settle() {
  for (const Pax::IpGenPrefix &zone : std::exchange(changed_, {})) settle(zone);
  timedOut_.clear();
}

void BsrReporter::settle(const Pax::IpGenPrefix &zone) {
  const auto found = known_.find(zone);
  const Known before = found == known_.end() ? Known() : found->second, now = known(zone);
  if (now.bsr.isZero()) {
    known_.erase(zone);
    if (!before.bsr.isZero()) tellWent(zone, before);
    return;
  }
  known_[zone] = now;
  if (before.bsr.isZero()) {
    tellCame(zone, now);
  } else if (before.bsr != now.bsr) {
    tellAnother(zone, before, now);
  } else {
    tellSame(zone, before, now);
  }
}

void BsrReporter::tellCame(const Pax::IpGenPrefix &zone, const Known &now) {
  if (zone != global_ && zones_.insert(zone).second) {
    tell(EventKind::zoneAppeared, Severity::info, zone, {}, now, "", sentence("Scope zone ", zone, " appeared"));
  }
  if (now.isOurs) {
    tell(EventKind::bsrElected, Severity::notice, zone, {}, now, "",
         sentence("This router, ", now.bsr, " with priority ", now.priority, ", is the elected BSR of zone ", zone));
  } else {
    tell(EventKind::bsrLearned, Severity::notice, zone, {}, now, "",
         sentence("Zone ", zone, " has BSR ", now.bsr, " with priority ", now.priority));
  }
}

void BsrReporter::tellWent(const Pax::IpGenPrefix &zone, const Known &before) {
  if (timedOut_.contains(zone) && !before.isOurs) {
    return tellTimedOut(zone, before, status_->bsTimeout(), "the zone has no BSR");
  }
  const std::string stopped = whyNotRunning(reporting_.view());
  const std::string cause = !stopped.empty()      ? stopped
                            : status_->cbsr(zone) ? "this router's candidacy is not complete"
                            : before.isOurs       ? "this router is no candidate there any more"
                                                  : "its state was given up";
  tell(EventKind::bsrLost, Severity::warning, zone, before, {}, cause,
       sentence("Zone ", zone, " has lost its BSR, ", before.isOurs ? "this router, " : "", before.bsr, ": ", cause));
}

void BsrReporter::tellTimedOut(const Pax::IpGenPrefix &zone, const Known &before, uint32_t seconds,
                               const char *consequence) {
  const std::string cause = sentence("no message of it was accepted for ", seconds, " s");
  tell(EventKind::bsrTimedOut, Severity::warning, zone, before, {}, cause,
       sentence("BSR ", before.bsr, " of zone ", zone, " timed out: ", cause, "; ", consequence));
}

void BsrReporter::tellAnother(const Pax::IpGenPrefix &zone, const Known &before, const Known &now) {
  const auto weight = [](const Known &bsr) { return sentence(bsr.bsr, " with priority ", bsr.priority); };
  const bool isBetter =
      PimBsrWeight(uint8_t(before.priority), before.bsr) < PimBsrWeight(uint8_t(now.priority), now.bsr);
  const std::string cause = before.isSilent        ? "the one before is silent"
                            : before.priority == 0 ? "the one before resigned"
                            : isBetter             ? "the new one is preferred"
                                                   : "the one before is gone";
  const std::string end = sentence(", in place of ", weight(before), ": ", cause);
  if (now.isOurs) {
    tell(EventKind::bsrElected, Severity::notice, zone, before, now, cause,
         sentence("This router, ", weight(now), ", is the elected BSR of zone ", zone, end));
  } else if (before.isOurs) {
    tell(EventKind::bsrTakenOver, Severity::notice, zone, before, now, cause,
         sentence("BSR ", weight(now), " took over zone ", zone, " from this router, ", weight(before), ": ", cause));
  } else {
    tell(EventKind::bsrReplaced, Severity::notice, zone, before, now, cause,
         sentence("Zone ", zone, " has BSR ", weight(now), end));
  }
}

void BsrReporter::tellSame(const Pax::IpGenPrefix &zone, const Known &before, const Known &now) {
  if (now.isSilent && !before.isSilent) {
    const auto *machine = reporting_.view().bsrSm->candidateSm(zone);
    tellTimedOut(zone, before, machine->bsTimer().timeout(),
                 "this router is a candidate and takes over unless a better one does");
  } else if (before.isSilent && now.state == BsrCandidateState::cBsr) {
    tell(EventKind::bsrLearned, Severity::notice, zone, before, now, "it is heard again",
         sentence("BSR ", now.bsr, " of zone ", zone, " is heard again"));
  }
  known_[zone].isSilent = now.isSilent || (before.isSilent && now.state == BsrCandidateState::pBsr);
  if (now.priority != before.priority) {
    tell(EventKind::bsrChanged, Severity::notice, zone, before, now, now.priority == 0 ? "it resigns" : "",
         sentence("BSR ", now.bsr, " of zone ", zone, " has priority ", now.priority, ", which was ", before.priority,
                  now.priority == 0 ? ": it resigns" : ""));
  } else if (now.isOurs && !before.isOurs) {
    tell(EventKind::bsrElected, Severity::notice, zone, before, now, "",
         sentence("This router, ", now.bsr, " with priority ", now.priority, ", is the elected BSR of zone ", zone));
  }
}

void BsrReporter::zoneForgotten(const Pax::IpGenPrefix &zone) {
  zones_.erase(zone);
  tell(EventKind::zoneForgotten, Severity::notice, zone, {}, {}, "no BSR",
       sentence("Scope zone ", zone, " is forgotten: it had no BSR for ", status_->szTimeout(), " s"));
}

void BsrReporter::tell(EventKind kind, Severity severity, const Pax::IpGenPrefix &zone, const Known &before,
                       const Known &now, const std::string &cause, const std::string &text) {
  const auto weight = [](const Known &bsr) {
    return bsr.bsr.isZero() ? std::string() : sentence(bsr.bsr, " priority ", bsr.priority);
  };
  Event event{.kind = kind, .severity = severity, .zone = zone, .bsr = now.bsr.isZero() ? before.bsr : now.bsr};
  if (kind != EventKind::zoneAppeared) {
    event.newValue = weight(now);
    if (weight(before) != event.newValue) event.oldValue = weight(before);
  }
  event.cause = cause;
  event.text = text;
  reporting_.tell(std::move(event));
}

}  // namespace Routing::Pim::Bsr
