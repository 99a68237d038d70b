#include "engine/PublishedRpSet.h"

#include <algorithm>
#include <set>

namespace Routing::Pim::Bsr {

PublishedRpSet::PublishedRpSet(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<RpCandidateStatus> &published,
                               const Kiv::Ptr<const TrieGen> &trie)
    : bsrStatus_(bsrStatus), published_(published), trie_(trie) {}

void PublishedRpSet::adopt() {
  for (const Pax::IpGenPrefix &prefix : published_->crpSet().keys()) {
    const auto rps = published_->crpSet(prefix)->rp().keys();
    for (const Pax::IpGenPrefix &zone : bsrStatus_->crpStatus().keys()) {
      const auto set = zone.covers(prefix) && !trie_->route(zone) ? setOf(zone, prefix) : nullptr;
      const bool all = set && std::all_of(rps.begin(), rps.end(), [&](const auto &rp) { return bool(set->rp(rp)); });
      if (all && !owner_.contains(prefix)) owner_.insert(prefix, zone);
    }
    settle(prefix);
  }
}

Kiv::Ptr<RpCandidateSet> PublishedRpSet::setOfOwner(const Pax::IpGenPrefix &zone,
                                                    const Pax::IpGenPrefix &prefix) const {
  const Pax::IpGenPrefix *owner = owner_.find(prefix);
  return owner && *owner == zone ? published_->crpSet(prefix) : nullptr;
}

Kiv::Ptr<RpCandidateSet> PublishedRpSet::setFor(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) {
  const auto set = published_->crpSetIs(prefix);
  Pax::IpGenPrefix *owner = owner_.find(prefix);
  if (!owner) {
    ++version_;
    owner_.insert(prefix, zone);
  } else if (*owner != zone) {
    ++version_;
    *owner = zone;
    retain(*set, setOf(zone, prefix).get());
  }
  return set;
}

void PublishedRpSet::rpGone(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix,
                            const Pax::IpGenAddr &address) {
  const Pax::IpGenPrefix *owner = owner_.find(prefix);
  if (!owner || *owner != zone) return;
  if (const auto set = published_->crpSet(prefix)) set->rpDel(address);
}

bool PublishedRpSet::withdraw(const Pax::IpGenPrefix &prefix) {
  ++version_;
  owner_.erase(prefix);
  if (!published_->crpSet(prefix)) return false;
  published_->crpSetDel(prefix);
  return true;
}

void PublishedRpSet::settle(const Pax::IpGenPrefix &prefix) {
  const Pax::IpGenPrefix zone = trie_->longestMatch(prefix);
  if (const auto set = setOf(zone, prefix)) {
    copySet(*set, *setFor(zone, prefix));
    return;
  }
  const auto published = published_->crpSet(prefix);
  const Pax::IpGenPrefix *owner = owner_.find(prefix);
  if (!published || !owner) {
    withdraw(prefix);
    return;
  }
  // The publisher has no BSR any more: its RPs serve until their own hold times end.
  const auto remaining = trie_->route(*owner) ? nullptr : setOf(*owner, prefix);
  if (remaining) retain(*published, remaining.get());
  if (!remaining || published->rp().empty()) withdraw(prefix);
}

void PublishedRpSet::settleWithin(const Pax::IpGenPrefix &zone) {
  std::set<Pax::IpGenPrefix> affected;
  const auto add = [&](const RpCandidateStatus &status) {
    for (const auto &[prefix, set] : status.crpSet()) {
      if (zone.covers(prefix)) affected.insert(prefix);
    }
  };
  add(*published_);
  for (const auto &[key, zoneStatus] : bsrStatus_->crpStatus()) {
    if (zoneStatus->status()) add(*zoneStatus->status());
  }
  for (const Pax::IpGenPrefix &prefix : affected) settle(prefix);
}

Kiv::Ptr<RpCandidateSet> PublishedRpSet::setOf(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) const {
  const auto zoneStatus = bsrStatus_->crpStatus(zone);
  return zoneStatus && zoneStatus->status() ? zoneStatus->status()->crpSet(prefix) : nullptr;
}

void PublishedRpSet::copySet(const RpCandidateSet &from, RpCandidateSet &to) {
  retain(to, &from);
  for (const auto &[address, rp] : from.rp()) copyRp(*rp, *to.rpIs(address));
}

void PublishedRpSet::retain(RpCandidateSet &set, const RpCandidateSet *among) {
  for (const Pax::IpGenAddr &address : set.rp().keys()) {
    if (!among || !among->rp(address)) set.rpDel(address);
  }
}

void copyRp(const Pim::RpCandidate &from, Pim::RpCandidate &to) {
  to.pimModeIs(from.pimMode());
  to.priorityIs(from.priority());
  to.holdTimeIs(from.holdTime());
  to.hashMaskLenIs(from.hashMaskLen());
  to.setupTimeIs(from.setupTime());
  to.expiresIs(from.expires());
}

}  // namespace Routing::Pim::Bsr
