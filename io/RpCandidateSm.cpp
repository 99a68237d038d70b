#include "io/RpCandidateSm.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::RpCandidateSm");

constexpr size_t mostCounted = 255;  // what the count field of an advertisement can say
constexpr uint8_t flagBidir = 0x80;
constexpr uint8_t flagAdminScope = 0x01;

}  // namespace

RpCandidateSm::RpCandidateSm(const CrpOptions &crpOptions, const Kiv::Ptr<const Status> &bsrStatus,
                             const Kiv::Ptr<const TrieGen> &bsrTrie, const Kiv::Ptr<Orb::TimerWheel> &timerWheel,
                             const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus, const Kiv::Ptr<const RpCandidate> &crp,
                             Orb::Random &random, AdvertisedElsewhere advertisedElsewhere)
    : crpOptions_(crpOptions),
      bsrStatus_(bsrStatus),
      bsrTrie_(bsrTrie),
      crpMsgStatus_(crpMsgStatus),
      crp_(crp),
      random_(random),
      timerWheel_(*timerWheel),
      advertisedElsewhere_(std::move(advertisedElsewhere)),
      crpAdvTimer_(*this, timerWheel),
      kivCrp_(*this, crp),
      kivBsrTrie_(*this) {
  handleInitialized();
}

RpCandidateSm::KivCrp::KivCrp(RpCandidateSm &sm, const Kiv::Ptr<const RpCandidate> &crp) : sm_(sm) {
  notifierIs(crp);
  for (const Pax::IpGenPrefix &prefix : crp->prefixOptions().keys()) followOption(prefix);
}

void RpCandidateSm::KivCrp::onPrefixOptions(const Pax::IpGenPrefix &prefix) {
  followOption(prefix);
  sm_.handlePrefix(prefix);
}

void RpCandidateSm::KivCrp::followOption(const Pax::IpGenPrefix &prefix) {
  option_.erase(prefix);
  if (const auto options = notifier()->prefixOptions(prefix)) {
    option_.insert(prefix, std::make_unique<KivPrefixOption>(sm_, prefix, options));
  }
}

void RpCandidateSm::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  const uint32_t delay = quickDelay();
  VRF_TRACE(trace, 5, "Setting up CRP Adv timer to fire in " << delay << " seconds from now");
  crpAdvTimer_.timeMinIs(timerWheel_.now() + delay);
  crpAdvBackoffCount_ = 2;
  lastInterval_ = crp_->interval().number();
  VRF_TRACE(trace, 4, "Instantiated CRP SM " << crpOptions_.rpAddress << " with priority " << crpOptions_.priority);
  initialized_ = true;
  doUpdateCrpAdvSet();
}

/// The zone's BSR came, went, or changed its address. Prefixes move to and from the zone.
void RpCandidateSm::handleBsr(const Pax::IpGenPrefix &zone) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << zone << " )");
  const bool known = bool(bsrStatus_->bootstrapRouter(zone));
  if (!known) {
    crpAdvSet_.erase(zone);
    VRF_TRACE(trace, 4, "Deleting crpAdvSet for zone " << zone);
  }
  const bool moved = doUpdateCrpAdvSet();
  doUpdateCrpAdvSet(zone);
  if (!moved && !(known && !prefixesOf(zone).empty())) return;
  const uint32_t delay = quickDelay();
  crpAdvBackoffCount_ = 2;
  VRF_TRACE(trace, 5,
            "Setting up CRP Adv timer to fire in "
                << delay << " seconds from now. backoffCount=" << unsigned{crpAdvBackoffCount_});
  crpAdvTimer_.timeMinIs(timerWheel_.now() + delay);
}

/// The prefix is served or not served any more, or its priority changed.
void RpCandidateSm::handlePrefix(const Pax::IpGenPrefix &prefix) {
  if (initialized_ && doUpdateCrpAdvSetPrefix(prefix)) doAdvertiseSoon();
}

void RpCandidateSm::doAdvertiseSoon() {
  const double soon = timerWheel_.now() + quickDelay();
  if (crpAdvTimer_.timeMin() > soon) crpAdvTimer_.timeMinIs(soon);
}

bool RpCandidateSm::isConfigured(const Pax::IpGenPrefix &prefix) const {
  const auto options = crp_->prefixOptions(prefix);
  return crp_->prefixSet(prefix) && options && options->priority() == crpOptions_.priority;
}

bool RpCandidateSm::advertises(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) const {
  const auto *set = crpAdvSet_.find(zone);
  return set && (*set)->prefixSet(prefix);
}

/// Re-homes every prefix to the zone that matches it longest. Whether anything changed.
bool RpCandidateSm::doUpdateCrpAdvSet() {
  bool changed = false;
  for (const Pax::IpGenPrefix &prefix : crp_->prefixOptions().keys()) changed |= doUpdateCrpAdvSetPrefix(prefix);
  return changed;
}

bool RpCandidateSm::doUpdateCrpAdvSet(const Pax::IpGenPrefix &zone) {
  bool changed = false;
  for (const Pax::IpGenPrefix &prefix : crp_->prefixOptions().keys()) {
    if (bsrTrie_->longestMatch(prefix) == zone) changed |= doUpdateCrpAdvSetPrefix(prefix);
  }
  const auto *found = crpAdvSet_.find(zone);
  const Kiv::Ptr<RpCandidatePrefixSet> set = found ? *found : nullptr;
  if (!set) return changed;
  for (const Pax::IpGenPrefix &prefix : set->prefixSet().keys()) {
    if (isConfigured(prefix)) continue;
    VRF_TRACE(trace, 4,
              "Deleting prefix " << prefix << " from"
                                 << " crpAdvSet");
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
  if (!wanted || advertises(zone, prefix)) return changed;
  if (!crpAdvSet_.contains(zone)) {
    crpAdvSet_.insert(zone, Kiv::make<RpCandidatePrefixSet>(zone));
    VRF_TRACE(trace, 4, "Created crpAdvSet for zone " << zone);
  }
  (*crpAdvSet_.find(zone))->prefixSetIs(prefix);
  VRF_TRACE(trace, 4, "Added prefix " << prefix << " to crpAdvSet for zone " << zone);
  return true;
}

bool RpCandidateSm::removeFromZone(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) {
  const auto *set = crpAdvSet_.find(zone);
  if (!set || !(*set)->prefixSet(prefix)) return false;
  (*set)->prefixSetDel(prefix);
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
    // The count goes out as the raw byte that it is.
    VRF_TRACE(trace, 5,
              "Setting up CRP Adv timer to fire in "
                  << delay << " seconds from now. BackoffCount=" << static_cast<char>(crpAdvBackoffCount_));
    crpAdvTimer_.timeMinIs(timerWheel_.now() + delay);
  } else {
    VRF_TRACE(trace, 5, "Setting up CRP Adv timer to fire in " << crp_->interval() << " seconds from now");
    crpAdvTimer_.timeMinIs(timerWheel_.now() + crp_->interval().number());
  }
}

/// A longer interval is told at once: the BSR holds us by the old, shorter hold time.
void RpCandidateSm::handleInterval() {
  const uint16_t before = std::exchange(lastInterval_, crp_->interval().number());
  if (!crpAdvTimer_.armed()) {
    VRF_TRACE(trace, 5, "Interval timer not set. Nothing to be done. ");
    return;
  }
  VRF_TRACE(trace, 5, "CRP Interval value changed. Resetting it to " << crp_->interval() << " seconds from now.");
  if (lastInterval_ > before) doSendCrpAdv(false);
  crpAdvTimer_.timeMinIs(timerWheel_.now() + lastInterval_);
}

Kiv::Ptr<const ElectedBsrStatus> RpCandidateSm::bsrOf(const Pax::IpGenPrefix &zone) const {
  const Kiv::Ptr<const ElectedBsrStatus> bsr = bsrStatus_->bootstrapRouter(zone);
  return bsr && !bsr->ipAddr().isZero() ? bsr : nullptr;
}

void RpCandidateSm::doSendCrpAdv(bool shutdown) {
  VRF_TRACE_ENTRY_WITH(trace, " ( shutdown=" << (shutdown ? "True" : "False") << " )");
  bool sent = false;
  std::set<Pax::IpGenPrefix> zones;
  for (const auto &[zone, told] : lastAdvertised_) zones.insert(zone);
  for (const auto &[zone, set] : crpAdvSet_) zones.insert(zone);
  for (const Pax::IpGenPrefix &zone : zones) {
    if (!bsrOf(zone)) continue;
    sent |= doWithdraw(zone, shutdown);
    const Prefixes prefixes = prefixesOf(zone);
    if (shutdown || prefixes.empty()) continue;
    lastAdvertised_.insert_or_assign(zone, Told{prefixes, crp_->mode()});
    sendToZone(zone, prefixes, crp_->mode(), static_cast<CrpHoldTime>(3 * crp_->interval().number()));
    sent = true;
  }
  if (!sent) {
    VRF_TRACE(trace, 5,
              "Skipping sending C-RP Advertisement Message since crpAdvSet is empty or number of prefixes is 0");
  }
}

/// Says goodbye for what the zone's BSR may still hold of us: what we do not advertise any more (all,
/// in a shutdown) unless another machine does, and what it holds as bidirectional, which a sparse
/// advertisement does not replace.
bool RpCandidateSm::doWithdraw(const Pax::IpGenPrefix &zone, bool shutdown) {
  const auto told = lastAdvertised_.find(zone);
  const Mode mode = told == lastAdvertised_.end() ? crp_->mode() : told->second.mode;
  const bool replaced = mode == Mode::bidir && crp_->mode() == Mode::sparse;
  Prefixes withdrawn;
  const auto add = [&](const Prefixes &prefixes) {
    for (const Pax::IpGenPrefix &prefix : prefixes) {
      if (!shutdown && !replaced && advertises(zone, prefix)) continue;
      if (!advertisedElsewhere_(zone, prefix)) withdrawn.insert(prefix);
    }
  };
  if (told != lastAdvertised_.end()) {
    add(told->second.prefixes);
    lastAdvertised_.erase(told);
  }
  if (shutdown) add(prefixesOf(zone));
  if (withdrawn.empty()) return false;
  sendToZone(zone, withdrawn, mode, 0);
  return true;
}

RpCandidateSm::Prefixes RpCandidateSm::prefixesOf(const Pax::IpGenPrefix &zone) const {
  const auto *set = crpAdvSet_.find(zone);
  if (!set) return {};
  const auto keys = (*set)->prefixSet().keys();
  return {keys.begin(), keys.end()};
}

uint8_t RpCandidateSm::groupFlags(const Pax::IpGenPrefix &zone, Mode mode) const {
  uint8_t flags = mode == Mode::bidir ? flagBidir : 0;
  if (zone != Pax::allGroups(bsrStatus_->af()) && bsrStatus_->bsBorder(zone)) {
    VRF_TRACE(trace, 7, "C-RP is a ZBR");
    flags |= flagAdminScope;
  }
  return flags;
}

void RpCandidateSm::sendToZone(const Pax::IpGenPrefix &zone, const Prefixes &prefixes, Mode mode,
                               CrpHoldTime holdTime) {
  const auto message = Kiv::make<Packet::CrpAdvMessage>();
  if (prefixes.size() > mostCounted) {
    VRF_TRACE(trace, 1,
              "Configured prefixes are greater than " << mostCounted << ". Publishing only the maximum possible.");
  }
  message->prefixCountIs(static_cast<uint8_t>(std::min(prefixes.size(), mostCounted)));
  message->priorityIs(crpOptions_.priority);
  message->holdTimeIs(holdTime);
  message->rpAddressIs(crpOptions_.rpAddress);
  message->sourceIs(crpOptions_.rpAddress);
  message->destinationIs(bsrOf(zone)->ipAddr());
  const uint8_t flags = groupFlags(zone, mode);
  const auto groupInfo = Kiv::make<Packet::CrpGroupInfo>();
  for (const Pax::IpGenPrefix &prefix : prefixes) {
    if (groupInfo->group.size() > mostCounted) break;  // one more than is counted
    VRF_TRACE(trace, 5,
              "BSR setting groupFlags for group " << prefix << " to : " << std::hex << unsigned{flags} << std::dec);
    groupInfo->group.push_back({prefix, (flags & flagAdminScope) != 0, (flags & flagBidir) != 0});
  }
  message->groupData()->groupInfoIs(groupInfo);
  VRF_TRACE(trace, 4,
            "Sending CRP Advertisement message to BSR " << message->destination() << " containing "
                                                        << unsigned{message->prefixCount()} << " prefixes");
  crpMsgStatus_->txCrpMsgIs(message);
  crpMsgStatus_->writeCountInc(1);
}

}  // namespace Routing::Pim::Bsr
