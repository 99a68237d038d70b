#include "plan/ZoneAccount.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace Planning {

ZoneAccount::ZoneAccount(const std::vector<size_t> &vrfs, const std::vector<bool> &counting) : nodes_(vrfs.size()) {
  views_[View()] = 0;
  for (size_t i = 0; i < vrfs.size(); ++i) nodes_[i].vrf = vrfs[i];
  if (!vrfs.empty()) vrfs_.resize(*std::max_element(vrfs.begin(), vrfs.end()) + 1);
  for (size_t i = 0; i < counting.size(); ++i) nodes_[i].belongs = counting[i];
}

void ZoneAccount::agentsAreAsIn(const ZoneAccount &other) {
  for (size_t i = 0; i < nodes_.size(); ++i) {
    nodes_[i].number = other.nodes_[i].number;
    nodes_[i].runsFrom = other.nodes_[i].runsFrom;
  }
}

void ZoneAccount::regionsAre(const std::vector<std::optional<size_t>> &regions, double now) {
  for (size_t i = 0; i < nodes_.size(); ++i) {
    if (!nodes_[i].number && regions[i]) nodes_[i].runsFrom = now;
    nodes_[i].number = regions[i];
  }
  reachChanged_ = true;
}

void ZoneAccount::heldIs(size_t node, const Held *held) {
  NodeRecord &record = nodes_[node];
  const View view = held ? View(held->bsr, held->priority, held->hashMaskLen, held->digest) : View();
  record.view = views_.try_emplace(view, static_cast<uint32_t>(views_.size())).first->second;
  record.hasBsr = held && !held->bsr.isZero();
  record.hasRps = held && held->rps > 0;
  if (std::exchange(record.isChanged, true)) return;
  changed_.push_back(node);
}

std::vector<size_t> ZoneAccount::settle(double now, double episode) {
  if (findNewcomers() || reachChanged_) assign(now, episode);
  for (const size_t node : changed_) {
    nodes_[node].isChanged = false;
    apply(nodes_[node], now);
  }
  changed_.clear();
  settleRegions(now);
  std::vector<size_t> agreed;
  for (size_t i = 0; i < vrfs_.size(); ++i) {
    VrfRecord &vrf = vrfs_[i];
    const bool agrees = vrf.disagreeing + vrf.without == 0;
    if (agrees && vrf.disagreement.isOpen() && vrf.counting > 0) agreed.push_back(i);
    agrees ? vrf.disagreement.end(now) : vrf.disagreement.begin(now);
  }
  return agreed;
}

// Whether somebody has come to know the zone whose region did not.
bool ZoneAccount::findNewcomers() {
  return std::any_of(changed_.begin(), changed_.end(), [&](size_t place) {
    const NodeRecord &node = nodes_[place];
    return node.number && node.view != 0 && !node.region;
  });
}

void ZoneAccount::assign(double now, double episode) {
  reachChanged_ = false;
  const std::vector<Place> regions = regionByNumber();
  for (NodeRecord &node : nodes_) {
    const Place region = node.number ? regions[*node.number] : Place();
    const bool isNew = region && !std::exchange(node.belongs, node.belongs || region);
    if (region != node.region) move(node, region, now, isNew ? std::max(node.runsFrom, episode) : now);
  }
}

// The larger a region, the sooner it goes on being the one that its first node was in: few nodes have to move.
std::vector<ZoneAccount::Place> ZoneAccount::regionByNumber() {
  struct Found {
    size_t size = 0;
    bool belongs = false;
    Place before;
  };
  std::vector<Found> found(nodes_.size());
  for (const NodeRecord &node : nodes_) {
    if (!node.number) continue;
    Found &each = found[*node.number];
    ++each.size;
    each.belongs = each.belongs || node.belongs || node.view != 0;
    if (!each.before) each.before = node.region;
  }
  std::vector<size_t> order(found.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return found[a].size > found[b].size; });
  std::vector<Place> regions(found.size());
  std::vector<bool> taken(regions_.size());
  for (const size_t number : order) {
    const Found &each = found[number];
    if (!each.belongs) continue;
    if (each.before && !taken[*each.before]) {
      taken[*each.before] = true;
      regions[number] = each.before;
    } else {
      regions[number] = static_cast<uint32_t>(regions_.size());
      regions_.emplace_back();
    }
  }
  return regions;
}

void ZoneAccount::touch(uint32_t region) {
  if (std::exchange(regions_[region].isTouched, true)) return;
  touched_.push_back(region);
}

void ZoneAccount::uncount(NodeRecord &node) {
  Region &region = regions_[*node.region];
  const auto view = region.views.find(node.counted);
  if (--view->second == 0) region.views.erase(view);
  touch(*node.region);
}

void ZoneAccount::enter(NodeRecord &node) {
  Region &region = regions_[*node.region];
  node.counted = node.view;
  ++region.views[node.counted];
  VrfRecord &vrf = vrfs_[node.vrf];
  if (region.vrfs[node.vrf]++ == 0) vrf.disagreeing += region.disagreed.isOpen();
  ++vrf.counting;
  touch(*node.region);
}

void ZoneAccount::leave(NodeRecord &node) {
  uncount(node);
  Region &region = regions_[*node.region];
  VrfRecord &vrf = vrfs_[node.vrf];
  const auto nodes = region.vrfs.find(node.vrf);
  if (--nodes->second == 0) {
    region.vrfs.erase(nodes);
    vrf.disagreeing -= region.disagreed.isOpen();
  }
  --vrf.counting;
  vrf.without -= node.withoutBsr.isOpen();
}

void ZoneAccount::move(NodeRecord &node, Place region, double now, double from) {
  if (node.region) leave(node);
  node.region = region;
  node.stays.push_back({from, region});
  if (!region) {
    node.withoutBsr.end(now);
    node.withoutRp.end(now);
    return;
  }
  enter(node);
  // Until now it had neither, if it begins to count.
  note(node.withoutBsr, !node.hasBsr, from, now);
  note(node.withoutRp, !node.hasRps, from, now);
  vrfs_[node.vrf].without += node.withoutBsr.isOpen();
}

void ZoneAccount::note(Spans &spans, bool isSo, double from, double now) {
  if (isSo || from < now) spans.begin(from);
  if (!isSo) spans.end(now);
}

void ZoneAccount::apply(NodeRecord &node, double now) {
  if (!node.region) return;
  if (node.counted != node.view) {
    uncount(node);
    node.counted = node.view;
    ++regions_[*node.region].views[node.counted];
  }
  size_t &without = vrfs_[node.vrf].without;
  without -= node.withoutBsr.isOpen();
  note(node.withoutBsr, !node.hasBsr, now, now);
  note(node.withoutRp, !node.hasRps, now, now);
  without += node.withoutBsr.isOpen();
}

void ZoneAccount::settleRegions(double now) {
  for (const uint32_t place : touched_) {
    Region &region = regions_[place];
    region.isTouched = false;
    const bool disagreed = region.disagreed.isOpen();
    region.views.size() > 1 ? region.disagreed.begin(now) : region.disagreed.end(now);
    for (const auto &[vrf, nodes] : region.vrfs) {
      vrfs_[vrf].disagreeing -= disagreed;
      vrfs_[vrf].disagreeing += region.disagreed.isOpen();
    }
  }
  touched_.clear();
}

Spans ZoneAccount::counted(size_t node) const {
  Spans spans;
  for (const Stay &stay : nodes_[node].stays) stay.region ? spans.begin(stay.from) : spans.end(stay.from);
  return spans;
}

Spans ZoneAccount::of(Outage outage, size_t node) const {
  const NodeRecord &record = nodes_[node];
  if (outage == Outage::withoutBsr) return record.withoutBsr;
  if (outage == Outage::withoutRp) return record.withoutRp;
  Spans disagreed;
  for (size_t i = 0; i < record.stays.size(); ++i) {
    const Stay &stay = record.stays[i];
    const double to = i + 1 < record.stays.size() ? record.stays[i + 1].from : Spans::open;
    if (stay.region) disagreed.append(regions_[*stay.region].disagreed.within(stay.from, to));
  }
  return disagreed;
}

}  // namespace Planning
