#include "engine/CrpAdvertisements.h"

#include <algorithm>

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::RpCandidateSm");

constexpr unsigned goodbyesMost = 3;  // tries of one goodbye
constexpr double rest = 1;            // seconds between a goodbye and the next advertisement of the range
constexpr uint8_t flagBidir = 0x80;
constexpr uint8_t flagAdminScope = 0x01;

/// Those that the count of a message covers.
std::vector<Pax::IpGenPrefix> counted(const CrpAdvertisements::Prefixes &prefixes) {
  std::vector<Pax::IpGenPrefix> first(prefixes.begin(), prefixes.end());
  first.resize(std::min(first.size(), CrpAdvertisements::mostCounted));
  return first;
}

}  // namespace

CrpAdvertisements::CrpAdvertisements(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<const TrieGen> &bsrTrie,
                                     const Kiv::Ptr<Orb::TimerWheel> &timerWheel,
                                     const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus)
    : bsrStatus_(bsrStatus),
      bsrTrie_(bsrTrie),
      timerWheel_(*timerWheel),
      crpMsgStatus_(crpMsgStatus),
      goodbyeTimer_(*this, timerWheel) {}

CrpAdvertisements::Told CrpAdvertisements::toldNow(const CrpOptions &options, const RpCandidate &crp) {
  return {options.priority, crp.mode() == Mode::bidir, static_cast<CrpHoldTime>(3 * crp.interval().number())};
}

bool CrpAdvertisements::advertise(const CrpOptions &options, const Pax::IpGenPrefix &zone, const Prefixes &prefixes,
                                  const RpCandidate &crp) {
  if (prefixes.empty() || !bsrOf(zone)) return false;
  const Told told = toldNow(options, crp);
  if (!send(options.rpAddress, {zone, told.priority, told.bidir}, prefixes, told.holdTime)) return true;
  for (const Pax::IpGenPrefix &prefix : counted(prefixes)) {
    told_.insert_or_assign({options.rpAddress, zone, prefix}, told);
  }
  return true;
}

void CrpAdvertisements::toldIs(const CrpOptions &options, const Pax::IpGenPrefix &zone, const Prefixes &prefixes,
                               const RpCandidate &crp) {
  for (const Pax::IpGenPrefix &prefix : counted(prefixes)) {
    const auto resting = restsUntil_.find({options.rpAddress, prefix});
    if (resting != restsUntil_.end() && resting->second > timerWheel_.now()) continue;
    told_.insert({{options.rpAddress, zone, prefix}, toldNow(options, crp)});
  }
}

void CrpAdvertisements::servedBy(const CrpOptions &options, const Pax::IpGenPrefix &prefix) {
  for (auto &[range, told] : told_) {
    if (range.rpAddress == options.rpAddress && range.prefix == prefix) told.priority = options.priority;
  }
}

bool CrpAdvertisements::withdraw(const CrpOptions &options, bool ended) {
  const auto &[rpAddress, priority] = options;
  std::map<Heading, Prefixes> due;
  for (const auto &[range, told] : told_) {
    if (range.rpAddress != rpAddress || !isDue(range, told, ended ? priority : rpPriorityUnset)) continue;
    if (told.priority != priority && isUsed({rpAddress, told.priority})) continue;
    due[{range.zone, told.priority, told.bidir}].insert(range.prefix);
  }
  bool said = false;
  for (const auto &[heading, prefixes] : due) said |= sayGoodbye(rpAddress, heading, prefixes);
  if (!bsrStatus_->crp(rpAddress)) doRetryLater(rpAddress);
  return said;
}

/// Whether the options have an advertiser.
bool CrpAdvertisements::isUsed(const CrpOptions &options) const {
  const auto crp = bsrStatus_->crp(options.rpAddress);
  if (!crp) return false;
  for (const auto &[prefix, ranges] : crp->prefixOptions()) {
    if (ranges->priority() == options.priority) return true;
  }
  return false;
}

bool CrpAdvertisements::isDue(const Range &range, const Told &told, RpPriority ended) const {
  const auto crp = bsrStatus_->crp(range.rpAddress);
  const auto options = crp ? crp->prefixOptions(range.prefix) : nullptr;
  const bool served = options && crp->prefixSet(range.prefix) && options->priority() != rpPriorityUnset &&
                      options->priority() != ended && bsrTrie_->longestMatch(range.prefix) == range.zone;
  return !served || (told.bidir && crp->mode() == Mode::sparse);
}

/// While an RP is served somewhere, the goodbye for a zone without BSR waits until it has one.
bool CrpAdvertisements::sayGoodbye(const Pax::IpGenAddr &rpAddress, const Heading &heading, const Prefixes &prefixes) {
  const bool hasBsr = bool(bsrOf(heading.zone));
  if (!hasBsr && bsrStatus_->crp(rpAddress)) return false;
  const double now = timerWheel_.now();
  std::erase_if(restsUntil_, [now](const auto &resting) { return resting.second <= now; });
  const bool sent = hasBsr && send(rpAddress, heading, prefixes, 0);
  for (const Pax::IpGenPrefix &prefix : counted(prefixes)) {
    const auto told = told_.find({rpAddress, heading.zone, prefix});
    if (sent) restsUntil_[{rpAddress, prefix}] = now + rest;
    if (sent || ++told->second.failures == goodbyesMost) told_.erase(told);
  }
  return hasBsr;
}

void CrpAdvertisements::doRetryLater(const Pax::IpGenAddr &rpAddress) {
  const auto left =
      std::find_if(told_.begin(), told_.end(), [&](const auto &entry) { return entry.first.rpAddress == rpAddress; });
  if (left == told_.end()) return;
  const double delay = left->second.holdTime / 3.0;
  if (goodbyeTimer_.timeMin() <= timerWheel_.now() + delay) return;
  VRF_TRACE(trace, 5, "Setting up goodbye timer to fire in " << delay << " seconds from now");
  goodbyeTimer_.timeMinIs(timerWheel_.now() + delay);
}

void CrpAdvertisements::handleGoodbyeTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  std::set<Pax::IpGenAddr> gone;
  for (const auto &[range, told] : told_) {
    if (!bsrStatus_->crp(range.rpAddress)) gone.insert(range.rpAddress);
  }
  for (const Pax::IpGenAddr &rpAddress : gone) withdraw({rpAddress, rpPriorityUnset});
}

double CrpAdvertisements::restsUntil(const Pax::IpGenAddr &rpAddress, const Pax::IpGenPrefix &zone,
                                     const Pax::IpGenPrefix &prefix) const {
  const Range range{rpAddress, zone, prefix};
  const auto told = told_.find(range);
  if (told != told_.end() && isDue(range, told->second)) return Orb::never;
  const auto resting = restsUntil_.find({rpAddress, prefix});
  return resting == restsUntil_.end() ? 0 : resting->second;
}

Kiv::Ptr<const ElectedBsrStatus> CrpAdvertisements::bsrOf(const Pax::IpGenPrefix &zone) const {
  const Kiv::Ptr<const ElectedBsrStatus> bsr = bsrStatus_->bootstrapRouter(zone);
  return bsr && !bsr->ipAddr().isZero() ? bsr : nullptr;
}

uint8_t CrpAdvertisements::groupFlags(const Pax::IpGenPrefix &zone, bool bidir) const {
  uint8_t flags = bidir ? flagBidir : 0;
  if (zone != Pax::allGroups(bsrStatus_->af()) && bsrStatus_->bsBorder(zone)) {
    VRF_TRACE(trace, 7, "C-RP is a ZBR");
    flags |= flagAdminScope;
  }
  return flags;
}

/// False if it could not be sent.
bool CrpAdvertisements::send(const Pax::IpGenAddr &rpAddress, const Heading &heading, const Prefixes &prefixes,
                             CrpHoldTime holdTime) {
  const auto message = Kiv::make<Packet::CrpAdvMessage>();
  if (prefixes.size() > mostCounted) {
    VRF_TRACE(trace, 1,
              "Configured prefixes are greater than " << mostCounted << ". Publishing only the maximum possible.");
  }
  message->prefixCountIs(static_cast<uint8_t>(std::min(prefixes.size(), mostCounted)));
  message->priorityIs(heading.priority);
  message->holdTimeIs(holdTime);
  message->rpAddressIs(rpAddress);
  message->sourceIs(rpAddress);
  message->destinationIs(bsrOf(heading.zone)->ipAddr());
  const uint8_t flags = groupFlags(heading.zone, heading.bidir);
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
  const uint32_t before = crpMsgStatus_->sentCount();
  crpMsgStatus_->txCrpMsgIs(message);
  crpMsgStatus_->writeCountInc(1);
  return crpMsgStatus_->sentCount() != before;
}

}  // namespace Routing::Pim::Bsr
