#include "engine/PublishedRpSet.h"

#include <algorithm>

#include "engine/ZoneWatcher.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Sm");

void copyRp(const Pim::RpCandidate &from, Pim::RpCandidate &to) {
  to.pimModeIs(from.pimMode());
  to.priorityIs(from.priority());
  to.holdTimeIs(from.holdTime());
  to.hashMaskLenIs(from.hashMaskLen());
  to.setupTimeIs(from.setupTime());
  to.expiresIs(from.expires());
}

// Whether `set`, which may be null, has every RP of `rps`.
bool hasAll(const Kiv::Ptr<RpCandidateSet> &set, const RpCandidateSet &rps) {
  if (!set) return false;
  const auto addresses = rps.rp().keys();
  return std::ranges::all_of(addresses, [&](const auto &address) { return bool(set->rp(address)); });
}

}  // namespace

PublishedRpSet::PublishedRpSet(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<RpCandidateStatus> &published,
                               const Kiv::Ptr<const TrieGen> &trie)
    : bsrStatus_(bsrStatus), published_(published), trie_(trie) {
  published_->rpSetTypeIs(rpSetTypeBsr);
}

void PublishedRpSet::adopt() {
  for (const Pax::IpGenPrefix &prefix : published_->crpSet().keys()) {
    Entry &entry = entryIs(prefix);
    for (int length = prefix.length(); length >= 0 && entry.owner.isEmpty(); --length) {
      const Pax::IpGenPrefix zone(prefix.address(), static_cast<uint8_t>(length));
      if (!trie_->route(zone) && hasAll(rpSetOf(*bsrStatus_, zone, prefix), *entry.set)) entry.ownerIs(zone);
    }
    settle(prefix);
  }
}

Kiv::Ptr<const RpCandidateSet> PublishedRpSet::setOfOwner(const Pax::IpGenPrefix &zone,
                                                          const Pax::IpGenPrefix &prefix) const {
  const auto entry = entry_.find(prefix);
  return entry != entry_.end() && entry->second.owner == zone ? entry->second.set : nullptr;
}

std::optional<PublishedRpSet::Published> PublishedRpSet::nextBehind(const Pax::IpGenPrefix &prefix) const {
  for (auto at = entry_.upper_bound(prefix); at != entry_.end(); ++at) {
    if (at->second.set) return Published{at->first, at->second.owner, at->second.set};
  }
  return std::nullopt;
}

std::vector<Pax::IpGenPrefix> PublishedRpSet::prefixesWithin(const Pax::IpGenPrefix &zone) const {
  std::vector<Pax::IpGenPrefix> result;
  for (auto at = entry_.lower_bound(zone); at != entry_.end() && zone.covers(at->first); ++at) {
    result.push_back(at->first);
  }
  return result;
}

void PublishedRpSet::settleWithin(const Pax::IpGenPrefix &zone, ZoneWatcher *watcher) {
  for (const Pax::IpGenPrefix &prefix : prefixesWithin(zone)) {
    const Pax::IpGenPrefix before = entryIs(prefix).innermost, now = trie_->longestMatch(prefix);
    if (watcher && now != before) watcher->innermostChanged(prefix, before, now);
    settle(prefix);
  }
}

PublishedRpSet::Entry &PublishedRpSet::entryIs(const Pax::IpGenPrefix &prefix) {
  const auto present = entry_.find(prefix);
  if (present != entry_.end()) return present->second;
  return entry_[prefix] = {trie_->longestMatch(prefix), {}, false, published_->crpSet(prefix)};
}

void PublishedRpSet::entryDelIfUnused(const Pax::IpGenPrefix &prefix) {
  const auto entry = entry_.find(prefix);
  if (entry != entry_.end() && !entry->second.set && entry->second.sources == 0) entry_.erase(entry);
}

void PublishedRpSet::Entry::rpDel(const Pax::IpGenAddr &address) {
  ++version;
  set->rpDel(address);
}

void PublishedRpSet::retain(Entry &entry, const RpCandidateSet &among) {
  for (const Pax::IpGenAddr &address : entry.set->rp().keys()) {
    if (!among.rp(address)) entry.rpDel(address);
  }
}

void PublishedRpSet::Entry::innermostIs(const Pax::IpGenPrefix &zone) {
  if (innermost != zone) ++version;
  innermost = zone;
  isOwn = owner == innermost;
}

void PublishedRpSet::Entry::ownerIs(const Pax::IpGenPrefix &zone) {
  if (owner != zone) ++version;
  owner = zone;
  isOwn = owner == innermost;
}

void PublishedRpSet::settle(const Pax::IpGenPrefix &prefix) {
  Entry &entry = entryIs(prefix);
  entry.innermostIs(trie_->longestMatch(prefix));
  if (const auto own = rpSetOf(*bsrStatus_, entry.innermost, prefix)) {
    RpCandidateSet &set = setFor(entry.innermost, prefix, entry);
    for (const auto &[address, rp] : own->rp()) copyRp(*rp, *set.rpIs(address));
    return;
  }
  // A publisher without a BSR: its RPs serve until their own hold times end.
  const auto remaining = trie_->route(entry.owner) ? nullptr : rpSetOf(*bsrStatus_, entry.owner, prefix);
  if (entry.set && remaining) retain(entry, *remaining);
  if (entry.set && (!remaining || entry.set->rp().empty())) withdraw(prefix, entry);
  entryDelIfUnused(prefix);
}

// The set of `prefix`, created if absent, for `zone` to fill. What another zone had there goes.
RpCandidateSet &PublishedRpSet::setFor(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, Entry &entry) {
  entry.ownerIs(zone);
  entry.set = published_->crpSetIs(prefix);
  retain(entry, *rpSetOf(*bsrStatus_, zone, prefix));
  return *entry.set;
}

void PublishedRpSet::withdraw(const Pax::IpGenPrefix &prefix, Entry &entry) {
  entry.ownerIs({});
  entry.set = nullptr;
  ++entry.version;
  published_->crpSetDel(prefix);
}

// Source

PublishedRpSet::Source::Source(PublishedRpSet &published, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix)
    : published_(published), zone_(zone), prefix_(prefix), entry_(published.entryIs(prefix)) {
  ++entry_.sources;
}

PublishedRpSet::Source::~Source() {
  --entry_.sources;
  published_.entryDelIfUnused(prefix_);
}

void PublishedRpSet::Source::setCame() {
  if (!publishes()) return;
  published_.setFor(zone_, prefix_, entry_);
  VRF_TRACE(trace, 5, "Created crpSet with prefix " << prefix_ << " in rpCandidateStatus");
}

void PublishedRpSet::Source::setWent() {
  if (publishes()) {
    if (entry_.set) {
      published_.withdraw(prefix_, entry_);
      VRF_TRACE(trace, 5, "Deleted crpSet with prefix " << prefix_ << " from rpCandidateStatus");
    } else {
      VRF_TRACE(trace, 5, prefix_ << " already deleted from rpCandidateStatus");
    }
  }
  published_.settle(prefix_);
}

void PublishedRpSet::Source::rpCame(const Pax::IpGenAddr &address, const Pim::RpCandidate &rp) {
  if (!publishes()) return;
  copyRp(rp, *publishedSet().rpIs(address));
  VRF_TRACE(trace, 5, "Initialized RP " << address << " in Rp Set for prefix " << prefix_ << " in zone " << zone_);
}

bool PublishedRpSet::Source::rpChanged(const Pax::IpGenAddr &address, const Pim::RpCandidate &rp) {
  const auto copy = published(address, rp);
  if (copy) copyRp(rp, *copy);
  return bool(copy);
}

void PublishedRpSet::Source::rpRefreshed(const Pax::IpGenAddr &address, const Pim::RpCandidate &rp, Twin &twin) {
  if (!twin.rp || twin.version != entry_.version) {
    twin.rp = published(address, rp);
    twin.version = entry_.version;
    if (!twin.rp) return;
  }
  twin.rp->expiresIs(rp.expires());
}

// The published RP, a copy of `rp` if it was missing; null while another zone is to publish the prefix.
Kiv::Ptr<Pim::RpCandidate> PublishedRpSet::Source::published(const Pax::IpGenAddr &address,
                                                             const Pim::RpCandidate &rp) {
  if (!publishes()) return nullptr;
  RpCandidateSet &set = publishedSet();
  if (auto present = set.rp(address)) return present;
  VRF_TRACE(trace, 5,
            "Forced creation of RP " << address << " in Rp Set for prefix " << prefix_ << " in zone " << zone_);
  const auto created = set.rpIs(address);
  copyRp(rp, *created);
  return created;
}

void PublishedRpSet::Source::rpWent(const Pax::IpGenAddr &address) {
  if (!published_.bsrStatus_->crpStatus(zone_)) {
    VRF_TRACE(trace, 5, "Nothing to do since the Crp Zone has already been deleted ");
  } else if (publishes()) {
    if (entry_.set) {
      entry_.rpDel(address);
      VRF_TRACE(trace, 5,
                "Deleted RP " << address << " from crpSet with prefix " << prefix_ << " from rpCandidateStatus");
    } else {
      VRF_TRACE(trace, 5, "Nothing to do since the CrpSet has already been deleted from rpCandidateStatus");
    }
  }
  if (entry_.owner == zone_) entry_.rpDel(address);  // what a dead BSR's zone had published
}

// Traces why not.
bool PublishedRpSet::Source::publishes() const {
  if (entry_.innermost == zone_) return true;
  VRF_TRACE(trace, 8,
            "Not updating RpCandidateStatus since our zone " << zone_ << " does not match the longest prefix match "
                                                             << entry_.innermost << " for prefix " << prefix_);
  return false;
}

RpCandidateSet &PublishedRpSet::Source::publishedSet() {
  if (entry_.isOwn) return *entry_.set;
  VRF_TRACE(trace, 5, "Forced creation of crpSet with prefix " << prefix_ << " in rpCandidateStatus");
  return published_.setFor(zone_, prefix_, entry_);
}

}  // namespace Routing::Pim::Bsr
