#include "engine/CrpGoodbyes.h"

#include <algorithm>

#include "platform/orb/Clock.h"

namespace Routing::Pim::Bsr {

namespace {

constexpr unsigned goodbyesMost = 3;  // tries of one goodbye
constexpr double rest = 1;            // seconds between a goodbye and the next advertisement of the range

// Those that the count of a message covers.
std::vector<Pax::IpGenPrefix> counted(const CrpGoodbyes::Prefixes &prefixes) {
  std::vector<Pax::IpGenPrefix> first(prefixes.begin(), prefixes.end());
  first.resize(std::min(first.size(), CrpGoodbyes::mostCounted));
  return first;
}

}  // namespace

CrpGoodbyes::Told CrpGoodbyes::toldNow(const CrpOptions &options, const RpCandidate &crp) {
  return {options.priority, crp.mode() == Mode::bidir, holdTimeOf(crp)};
}

void CrpGoodbyes::toldIs(const CrpOptions &options, const Pax::IpGenPrefix &zone, const Prefixes &prefixes,
                         const RpCandidate &crp) {
  for (const Pax::IpGenPrefix &prefix : counted(prefixes)) {
    told_.insert_or_assign({options.rpAddress, zone, prefix}, toldNow(options, crp));
  }
}

void CrpGoodbyes::maybeToldIs(const CrpOptions &options, const Pax::IpGenPrefix &zone, const Prefixes &prefixes,
                              const RpCandidate &crp, double now) {
  for (const Pax::IpGenPrefix &prefix : counted(prefixes)) {
    const auto resting = restsUntil_.find({options.rpAddress, prefix});
    if (resting != restsUntil_.end() && resting->second > now) continue;
    told_.insert({{options.rpAddress, zone, prefix}, toldNow(options, crp)});
  }
}

void CrpGoodbyes::servedBy(const CrpOptions &options, const Pax::IpGenPrefix &prefix) {
  for (auto &[range, told] : told_) {
    if (range.rpAddress == options.rpAddress && range.prefix == prefix) told.priority = options.priority;
  }
}

void CrpGoodbyes::saidIs(const Pax::IpGenAddr &rpAddress, const Heading &heading, const Prefixes &prefixes, bool sent,
                         double now) {
  std::erase_if(restsUntil_, [now](const auto &resting) { return resting.second <= now; });
  for (const Pax::IpGenPrefix &prefix : counted(prefixes)) {
    const auto told = told_.find({rpAddress, heading.zone, prefix});
    if (sent) restsUntil_[{rpAddress, prefix}] = now + rest;
    if (sent || ++told->second.failures == goodbyesMost) told_.erase(told);
  }
}

std::map<CrpGoodbyes::Heading, CrpGoodbyes::Prefixes> CrpGoodbyes::due(const CrpOptions &options, bool ended) const {
  const auto &[rpAddress, priority] = options;
  const auto crp = bsrStatus_->crp(rpAddress);
  std::map<Heading, Prefixes> due;
  for (const auto &[range, told] : told_) {
    if (range.rpAddress != rpAddress || !isDue(range, told, ended ? priority : rpPriorityUnset)) continue;
    // Another advertiser says its own goodbyes.
    if (told.priority != priority && crp && crp->hasPriority(told.priority)) continue;
    due[{range.zone, told.priority, told.bidir}].insert(range.prefix);
  }
  return due;
}

bool CrpGoodbyes::isDue(const Range &range, const Told &told, RpPriority ended) const {
  const auto crp = bsrStatus_->crp(range.rpAddress);
  const auto options = crp ? crp->prefixOptions(range.prefix) : nullptr;
  const bool served = options && crp->prefixSet(range.prefix) && options->priority() != rpPriorityUnset &&
                      options->priority() != ended && bsrTrie_->longestMatch(range.prefix) == range.zone;
  return !served || (told.bidir && crp->mode() == Mode::sparse);
}

CrpHoldTime CrpGoodbyes::holdTimeTold(const Pax::IpGenAddr &rpAddress) const {
  const auto left = std::ranges::find_if(told_, [&](const auto &entry) { return entry.first.rpAddress == rpAddress; });
  return left == told_.end() ? 0 : left->second.holdTime;
}

std::set<Pax::IpGenAddr> CrpGoodbyes::gone() const {
  std::set<Pax::IpGenAddr> gone;
  for (const auto &[range, told] : told_) {
    if (!bsrStatus_->crp(range.rpAddress)) gone.insert(range.rpAddress);
  }
  return gone;
}

double CrpGoodbyes::restsUntil(const Pax::IpGenAddr &rpAddress, const Pax::IpGenPrefix &zone,
                               const Pax::IpGenPrefix &prefix) const {
  const Range range{rpAddress, zone, prefix};
  const auto told = told_.find(range);
  if (told != told_.end() && isDue(range, told->second)) return Orb::never;
  const auto resting = restsUntil_.find({rpAddress, prefix});
  return resting == restsUntil_.end() ? 0 : resting->second;
}

}  // namespace Routing::Pim::Bsr
