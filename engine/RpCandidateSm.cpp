#include "engine/RpCandidateSm.h"

#include <algorithm>

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::RpCandidateSm");

constexpr uint32_t quickMost = 2;  // seconds

}  // namespace

RpCandidateSm::RpCandidateSm(const CrpOptions &crpOptions, const PimBsrSm &sm, CrpAdvertisements &advertisements,
                             const Kiv::Ptr<const RpCandidate> &crp, Orb::Random &random)
    : crpOptions_(crpOptions),
      sm_(sm),
      bsrTrie_(sm.bsrTrie()),
      advertisements_(advertisements),
      crp_(crp),
      random_(random),
      crpAdvTimer_(sm.timerWheel(), *this),
      soonTimer_(sm.timerWheel(), *this),
      repeatTimer_(sm.timerWheel(), *this),
      returnTimer_(sm.timerWheel(), *this),
      kivCrp_(*this, crp),
      kivBsrTrie_(*this, bsrTrie_) {
  handleInitialized();
}

RpCandidateSm::KivCrp::KivCrp(RpCandidateSm &owner, const Kiv::Ptr<const RpCandidate> &crp) : ReactorOf(owner, crp) {
  for (const Pax::IpGenPrefix &prefix : crp->prefixOptions().keys()) followOption(prefix);
}

void RpCandidateSm::KivCrp::onPrefixOptions(const Pax::IpGenPrefix &prefix) {
  followOption(prefix);
  owner_.handlePrefix(prefix);
}

void RpCandidateSm::KivCrp::followOption(const Pax::IpGenPrefix &prefix) {
  option_.erase(prefix);
  if (const auto options = notifier()->prefixOptions(prefix)) {
    option_.insert(prefix, std::make_unique<KivPrefixOption>(owner_, prefix, options));
  }
}

void RpCandidateSm::KivPrefixOption::handlePriority() {
  VRF_TRACE_ENTRY(trace);
  owner_.handlePrefix(prefix_);
}

uint32_t RpCandidateSm::quickDelay() { return random_.next() % (quickMost + 1); }

void RpCandidateSm::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  const uint32_t delay = quickDelay();
  VRF_TRACE(trace, 5, "Setting up CRP Adv timer to fire in " << delay << " seconds from now");
  crpAdvTimer_.timeMinIs(sm_.now() + delay);
  crpAdvBackoffCount_ = 2;
  lastInterval_ = crp_->interval().number();
  VRF_TRACE(trace, 4, "Instantiated CRP SM " << crpOptions_.rpAddress << " with priority " << crpOptions_.priority);
  initialized_ = true;
  doUpdateCrpAdvSet();
}

// The zone's BSR came, went, or changed its address. Prefixes move to and from the zone.
void RpCandidateSm::handleBsr(const Pax::IpGenPrefix &zone) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << zone << " )");
  const bool known = bool(sm_.bsrStatus()->bootstrapRouter(zone));
  if (!known) {
    crpAdvSet_.erase(zone);
    VRF_TRACE(trace, 4, "Deleting crpAdvSet for zone " << zone);
  }
  const bool moved = doUpdateCrpAdvSet(zone);
  if (moved || (known && !prefixesOf(zone).empty())) doAdvertiseQuickly();
}

void RpCandidateSm::doAdvertiseQuickly() {
  const uint32_t delay = quickDelay();
  crpAdvBackoffCount_ = 2;
  VRF_TRACE(trace, 5,
            "Setting up CRP Adv timer to fire in "
                << delay << " seconds from now. backoffCount=" << unsigned{crpAdvBackoffCount_});
  crpAdvTimer_.timeMinIs(sm_.now() + delay);
}

// The prefix is served or not served any more, or its priority changed.
void RpCandidateSm::handlePrefix(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << prefix << " )");
  if (initialized_ && doUpdateCrpAdvSetPrefix(prefix)) doAdvertiseSoon();
}

// A BSR replaces a sparse entry by a bidirectional one; the other way round the old one has to go first.
void RpCandidateSm::handleMode() {
  VRF_TRACE_ENTRY(trace);
  if (crp_->mode() == Mode::sparse) advertisements_.withdraw(crpOptions_);
  doReturnAt(earliestReturn());
  if (earliestReturn() == Orb::never) doAdvertiseSoon();
}

void RpCandidateSm::doAdvertiseSoon() {
  if (nextAdvertisement() > sm_.now() + quickMost) doAdvertiseAt(sm_.now() + quickDelay());
}

void RpCandidateSm::doAdvertiseAt(double time) {
  if (nextAdvertisement() <= time) return;
  VRF_TRACE(trace, 5, "Setting up timer of a changed C-RP to fire in " << time - sm_.now() << " seconds from now");
  soonTimer_.timeMinIs(time);
}

// When the first of our prefixes that have just been withdrawn may be advertised again; never if none has.
double RpCandidateSm::earliestReturn() const {
  const double now = sm_.now();
  double earliest = Orb::never;
  for (const auto &[zone, set] : crpAdvSet_) {
    for (const Pax::IpGenPrefix &prefix : set->prefixSet().keys()) {
      const double until = advertisements_.goodbyes().restsUntil(crpOptions_.rpAddress, zone, prefix);
      if (until > now) earliest = std::min(earliest, until);
    }
  }
  return earliest;
}

void RpCandidateSm::doReturnAt(double time) {
  if (time == Orb::never) return;
  VRF_TRACE(trace, 5, "Setting up return timer to fire in " << time - sm_.now() << " seconds from now");
  returnTimer_.timeMinIs(time);
}

// What was withdrawn is advertised like what is new.
void RpCandidateSm::handleReturnTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  crpAdvBackoffCount_ = 2;
  handleCrpAdvTimerExpiry();
}

double RpCandidateSm::nextAdvertisement() const {
  return std::min({crpAdvTimer_.timeMin(), soonTimer_.timeMin(), repeatTimer_.timeMin(), returnTimer_.timeMin()});
}

bool RpCandidateSm::isConfigured(const Pax::IpGenPrefix &prefix) const {
  const auto options = crp_->prefixOptions(prefix);
  return crp_->prefixSet(prefix) && options && options->priority() == crpOptions_.priority;
}

Kiv::Ptr<RpCandidatePrefixSet> RpCandidateSm::setOf(const Pax::IpGenPrefix &zone) const {
  const auto *set = crpAdvSet_.find(zone);
  return set ? *set : nullptr;
}

void RpCandidateSm::doUpdateCrpAdvSet() {
  for (const Pax::IpGenPrefix &prefix : crp_->prefixOptions().keys()) doUpdateCrpAdvSetPrefix(prefix);
}

// Every prefix within the zone: it may have moved to the zone, or from it. Whether anything changed.
bool RpCandidateSm::doUpdateCrpAdvSet(const Pax::IpGenPrefix &zone) {
  bool changed = false;
  for (const Pax::IpGenPrefix &prefix : crp_->prefixOptions().keys()) {
    if (zone.covers(prefix)) changed |= doUpdateCrpAdvSetPrefix(prefix);
  }
  const auto set = setOf(zone);
  if (!set) return changed;
  for (const Pax::IpGenPrefix &prefix : set->prefixSet().keys()) {
    if (isConfigured(prefix)) continue;
    VRF_TRACE(trace, 4, "Deleting prefix " << prefix << " from crpAdvSet");
    set->prefixSetDel(prefix);
    changed = true;
  }
  return changed;
}

bool RpCandidateSm::doUpdateCrpAdvSetPrefix(const Pax::IpGenPrefix &prefix) {
  const Pax::IpGenPrefix zone = bsrTrie_->longestMatch(prefix);
  const bool wanted = !zone.isEmpty() && isConfigured(prefix);
  bool changed = false;
  for (const Pax::IpGenPrefix &other : crpAdvSet_.keys()) {
    if (!wanted || other != zone) changed |= removeFromZone(other, prefix);
  }
  if (!wanted || (setOf(zone) && setOf(zone)->prefixSet(prefix))) return changed;
  if (!crpAdvSet_.contains(zone)) {
    crpAdvSet_.insert(zone, Kiv::make<RpCandidatePrefixSet>(zone));
    VRF_TRACE(trace, 4, "Created crpAdvSet for zone " << zone);
  }
  setOf(zone)->prefixSetIs(prefix);
  advertisements_.goodbyes().servedBy(crpOptions_, prefix);
  VRF_TRACE(trace, 4, "Added prefix " << prefix << " to crpAdvSet for zone " << zone);
  return true;
}

bool RpCandidateSm::removeFromZone(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) {
  if (!setOf(zone)->prefixSet(prefix)) return false;
  setOf(zone)->prefixSetDel(prefix);
  VRF_TRACE(trace, 4, "Deleted prefix " << prefix << " from crpAdvSet for zone " << zone);
  return true;
}

void RpCandidateSm::handleCrpAdvTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  doSendCrpAdv(false);
  if (crpAdvBackoffCount_ > 0) {
    const uint32_t delay = quickDelay();
    --crpAdvBackoffCount_;
    // The count is written as the character with that code.
    VRF_TRACE(trace, 5,
              "Setting up CRP Adv timer to fire in "
                  << delay << " seconds from now. BackoffCount=" << static_cast<char>(crpAdvBackoffCount_));
    crpAdvTimer_.timeMinIs(sm_.now() + delay);
  } else {
    VRF_TRACE(trace, 5, "Setting up CRP Adv timer to fire in " << crp_->interval() << " seconds from now");
    crpAdvTimer_.timeMinIs(sm_.now() + crp_->interval().number());
  }
}

// A longer interval is told at once, and once more, since the BSR still counts the old, shorter hold time.
void RpCandidateSm::handleInterval() {
  VRF_TRACE_ENTRY(trace);
  const uint16_t before = std::exchange(lastInterval_, crp_->interval().number());
  if (!crpAdvTimer_.armed()) {
    VRF_TRACE(trace, 5, "Interval timer not set. Nothing to be done. ");
    return;
  }
  VRF_TRACE(trace, 5, "CRP Interval value changed. Resetting it to " << crp_->interval() << " seconds from now.");
  const double due = crpAdvTimer_.timeMin();
  crpAdvTimer_.timeMinIs(sm_.now() + lastInterval_);
  if (lastInterval_ > before) {
    doSendCrpAdv(false);
    doRepeatWithin(before);
  } else if (due <= sm_.now() + quickMost) {
    doAdvertiseAt(due);  // news may have been waiting for it
  }
}

// Late enough to outlast a burst of loss, early enough for an agent that is about to shut down.
void RpCandidateSm::doRepeatWithin(uint16_t seconds) {
  const double delay = std::min(2.0, seconds / 2.0);
  VRF_TRACE(trace, 5, "Setting up repeat timer to fire in " << delay << " seconds from now");
  repeatTimer_.timeMinIs(sm_.now() + delay);
}

void RpCandidateSm::handlePassTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  doSendCrpAdv(false);
}

void RpCandidateSm::doSendCrpAdv(bool shutdown) {
  VRF_TRACE_ENTRY_WITH(trace, " ( shutdown=" << (shutdown ? "True" : "False") << " )");
  if (shutdown) {
    for (const Pax::IpGenPrefix &zone : crpAdvSet_.keys()) {
      advertisements_.goodbyes().maybeToldIs(crpOptions_, zone, prefixesOf(zone), *crp_, sm_.now());
    }
  }
  bool sent = advertisements_.withdraw(crpOptions_, shutdown);
  if (!shutdown) {
    for (const Pax::IpGenPrefix &zone : crpAdvSet_.keys()) {
      sent |= advertisements_.advertise(crpOptions_, zone, restedOf(zone), *crp_);
    }
    doReturnAt(earliestReturn());
  }
  if (!sent) {
    VRF_TRACE(trace, 5,
              "Skipping sending C-RP Advertisement Message since crpAdvSet is empty or number of prefixes is 0");
  }
}

RpCandidateSm::Prefixes RpCandidateSm::prefixesOf(const Pax::IpGenPrefix &zone) const {
  const auto set = setOf(zone);
  if (!set) return {};
  const auto keys = set->prefixSet().keys();
  return {keys.begin(), keys.end()};
}

// Those that may be advertised now.
RpCandidateSm::Prefixes RpCandidateSm::restedOf(const Pax::IpGenPrefix &zone) const {
  Prefixes prefixes = prefixesOf(zone);
  std::erase_if(prefixes, [&](const Pax::IpGenPrefix &prefix) {
    return advertisements_.goodbyes().restsUntil(crpOptions_.rpAddress, zone, prefix) > sm_.now();
  });
  return prefixes;
}

}  // namespace Routing::Pim::Bsr
