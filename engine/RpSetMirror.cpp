#include "engine/RpSetMirror.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::Sm");
}

// KivRp

PimBsrSm::KivRp::KivRp(KivCrpSet &crpSet, const Pax::IpGenAddr &address, const Kiv::Ptr<Pim::RpCandidate> &rp)
    : crpSet_(crpSet), address_(address), holdTimer_(*this, crpSet.sm().timerWheel()) {
  notifierIs(rp);
  handleInitialized();
  if (rp->expires() > 0) setHoldtimer();
}

const std::string &PimBsrSm::KivRp::vrfName() const { return crpSet_.sm().vrfName(); }

Kiv::Ptr<Pim::RpCandidate> PimBsrSm::KivRp::twin() const {
  return crpSet_.publishes() ? crpSet_.publishedSet().rp(address_) : nullptr;
}

void PimBsrSm::KivRp::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  if (!crpSet_.publishes()) return;
  crpSet_.publishedSet().rpIs(address_);
  VRF_TRACE(
      trace, 5,
      "Initialized RP " << address_ << " in Rp Set for prefix " << crpSet_.prefix() << " in zone " << crpSet_.zone());
}

void PimBsrSm::KivRp::handlePriority() {
  VRF_TRACE_ENTRY(trace);
  const auto rp = twin();
  if (!rp) return;
  rp->priorityIs(notifier()->priority());
  VRF_TRACE(trace, 5,
            "Setting priority to " << rp->priority() << " for RP " << address_ << " with prefix " << crpSet_.prefix()
                                   << " in rpCandidateStatus");
}

void PimBsrSm::KivRp::handleHoldtime() {
  VRF_TRACE_ENTRY(trace);
  const auto rp = twin();
  if (!rp) return;
  rp->holdTimeIs(notifier()->holdTime());
  VRF_TRACE(trace, 5,
            "Setting hold time to " << rp->holdTime() << " for RP " << address_ << " with prefix " << crpSet_.prefix()
                                    << " in rpCandidateStatus");
}

void PimBsrSm::KivRp::handleHashMaskLen() {
  VRF_TRACE_ENTRY(trace);
  const auto rp = twin();
  if (!rp) return;
  rp->hashMaskLenIs(notifier()->hashMaskLen());
  VRF_TRACE(trace, 5,
            "Setting hash mask length to " << rp->hashMaskLen() << " for RP " << address_ << " with prefix "
                                           << crpSet_.prefix() << " in rpCandidateStatus");
}

void PimBsrSm::KivRp::handleMode() {
  VRF_TRACE_ENTRY(trace);
  const auto rp = twin();
  if (!rp) return;
  rp->pimModeIs(notifier()->pimMode());
  VRF_TRACE(trace, 5,
            "Setting mode to " << rp->pimMode() << " for RP " << address_ << " with prefix " << crpSet_.prefix()
                               << " in rpCandidateStatus");
}

void PimBsrSm::KivRp::handleSetuptime() {
  VRF_TRACE_ENTRY(trace);
  const auto rp = twin();
  if (!rp) return;
  rp->setupTimeIs(notifier()->setupTime());
  VRF_TRACE(trace, 5, "RP candidate " << address_ << " setup time is " << rp->setupTime());
}

void PimBsrSm::KivRp::setHoldtimer() {
  const Pim::RpCandidate &rp = *notifier();
  holdTimer_.timeMinIs(rp.expires());
  VRF_TRACE(trace, 5,
            " Set holdtimer to expire in " << rp.expires() - crpSet_.sm().now() << " from now for " << address_
                                           << " in prefix " << crpSet_.prefix() << " of zone " << crpSet_.zone());
  if (!crpSet_.publishes()) return;
  RpCandidateSet &set = crpSet_.publishedSet();
  auto published = set.rp(address_);
  if (!published) {
    VRF_TRACE(trace, 5,
              "Forced creation of RP " << address_ << " in Rp Set for prefix " << crpSet_.prefix() << " in zone "
                                       << crpSet_.zone());
    published = set.rpIs(address_);
  }
  copyRp(rp, *published);
}

void PimBsrSm::KivRp::handleHoldtimeExpired() {
  VRF_TRACE_ENTRY(trace);
  VRF_TRACE(trace, 4,
            "Deleting RP " << address_ << " from prefix " << crpSet_.prefix() << " and zone " << crpSet_.zone());
  const auto zoneStatus = crpSet_.sm().bsrStatus()->crpStatus(crpSet_.zone());
  if (!zoneStatus || !zoneStatus->status()) return;
  const auto set = zoneStatus->status()->crpSet(crpSet_.prefix());
  if (set) set->rpDel(Pax::IpGenAddr(address_));
}

void PimBsrSm::KivRp::handleDel() {
  VRF_TRACE_ENTRY(trace);
  PimBsrSm &sm = crpSet_.sm();
  const Pax::IpGenPrefix zone = crpSet_.zone();
  const Pax::IpGenPrefix prefix = crpSet_.prefix();
  if (!sm.bsrStatus()->crpStatus(zone)) {
    VRF_TRACE(trace, 5, "Nothing to do since the Crp Zone has already been deleted ");
  } else if (crpSet_.publishes()) {
    if (const auto set = sm.rpCandidateStatus()->crpSet(prefix)) {
      set->rpDel(address_);
      VRF_TRACE(trace, 5,
                "Deleted RP " << address_ << " from crpSet with prefix " << prefix << " from rpCandidateStatus");
    } else {
      VRF_TRACE(trace, 5, "Nothing to do since the CrpSet has already been deleted from rpCandidateStatus");
    }
  }
  sm.published().rpGone(zone, prefix, address_);
  sm.removeEmptySet(zone, prefix);  // may end the set's reactor: the last act
}

// KivCrpSet

PimBsrSm::KivCrpSet::KivCrpSet(PimBsrSm &sm, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix,
                               const Kiv::Ptr<RpCandidateSet> &set)
    : sm_(sm), zone_(zone), prefix_(prefix) {
  notifierIs(set);
  handleInitialized();
  notifierReplay();
}

void PimBsrSm::KivCrpSet::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  initialized_ = true;
  if (!publishes()) return;
  sm_.published().setFor(zone_, prefix_);
  VRF_TRACE(trace, 5, "Created crpSet with prefix " << prefix_ << " in rpCandidateStatus");
}

void PimBsrSm::KivCrpSet::onRp(const Pax::IpGenAddr &address) {
  if (!initialized_) return;
  const auto gone = rp_.erase(address);
  if (const auto rp = notifier()->rp(address)) {
    rp_.insert(address, std::make_unique<KivRp>(*this, address, rp));
  } else if (gone) {
    gone->handleDel();  // may end this reactor: the last act
  }
}

void PimBsrSm::KivCrpSet::handleDel() {
  VRF_TRACE_ENTRY(trace);
  VRF_TRACE(trace, 5, "Deleted zone " << zone_ << " RP set " << prefix_);
  if (publishes()) {
    if (sm_.published().withdraw(prefix_)) {
      VRF_TRACE(trace, 5, "Deleted crpSet with prefix " << prefix_ << " from rpCandidateStatus");
    } else {
      VRF_TRACE(trace, 5, prefix_ << " already deleted from rpCandidateStatus");
    }
  }
  sm_.published().settle(prefix_);
}

bool PimBsrSm::KivCrpSet::publishes() const {
  if (trieVersion_ != sm_.bsrTrie()->version()) {
    trieVersion_ = sm_.bsrTrie()->version();
    publishes_ = sm_.bsrTrie()->longestMatch(prefix_) == zone_;
  }
  if (publishes_) return true;
  VRF_TRACE(trace, 8,
            "Not updating RpCandidateStatus since our zone " << zone_ << " does not match the longest prefix match "
                                                             << sm_.bsrTrie()->longestMatch(prefix_) << " for prefix "
                                                             << prefix_);
  return false;
}

RpCandidateSet &PimBsrSm::KivCrpSet::publishedSet() const {
  if (publishedSet_ && publishedVersion_ == sm_.published().version()) return *publishedSet_;
  publishedSet_ = sm_.published().setOfOwner(zone_, prefix_);
  if (!publishedSet_) {
    VRF_TRACE(trace, 5, "Forced creation of crpSet with prefix " << prefix_ << " in rpCandidateStatus");
    publishedSet_ = sm_.published().setFor(zone_, prefix_);
  }
  publishedVersion_ = sm_.published().version();
  return *publishedSet_;
}

// KivCrpStatus

PimBsrSm::KivCrpStatus::KivCrpStatus(PimBsrSm &sm, const Pax::IpGenPrefix &zone,
                                     const Kiv::Ptr<RpCandidateStatus> &status)
    : sm_(sm), zone_(zone) {
  notifierIs(status);
  notifierReplay();
}

void PimBsrSm::KivCrpStatus::onCrpSet(const Pax::IpGenPrefix &prefix) {
  const auto gone = crpSet_.erase(prefix);
  if (const auto set = notifier()->crpSet(prefix)) {
    crpSet_.insert(prefix, std::make_unique<KivCrpSet>(sm_, zone_, prefix, set));
  } else if (gone) {
    gone->handleDel();
  }
}

void PimBsrSm::KivCrpStatus::handleDel() {
  for (const Pax::IpGenPrefix &prefix : crpSet_.keys()) {
    if (const auto gone = crpSet_.erase(prefix)) gone->handleDel();
  }
}

// KivCrpZoneStatus

PimBsrSm::KivCrpZoneStatus::KivCrpZoneStatus(PimBsrSm &sm, const Pax::IpGenPrefix &zone,
                                             const Kiv::Ptr<PimBsrRpCandidateStatus> &zoneStatus)
    : sm_(sm), zone_(zone) {
  notifierIs(zoneStatus);
  notifierReplay();
}

void PimBsrSm::KivCrpZoneStatus::onStatus() {
  handleDel();
  if (const auto &status = notifier()->status()) crpStatus_ = std::make_unique<KivCrpStatus>(sm_, zone_, status);
}

void PimBsrSm::KivCrpZoneStatus::handleDel() {
  if (const auto gone = std::move(crpStatus_)) gone->handleDel();
}

}  // namespace Routing::Pim::Bsr
