#include "plan/Account.h"

#include <algorithm>

#include "plan/Parts.h"

namespace Planning {

Account::Account(Simulation &simulation) : simulation_(simulation), nodes_(simulation.plan().nodes()) {
  size_t first = 0;
  for (const Router &router : simulation.plan().routers) {
    first_.push_back(first);
    first += router.vrfs.size();
    for (const Vrf &vrf : router.vrfs) {
      const auto known = std::find(vrfs_.begin(), vrfs_.end(), vrf.name);
      vrfOf_.push_back(static_cast<size_t>(known - vrfs_.begin()));
      if (known == vrfs_.end()) vrfs_.push_back(vrf.name);
    }
  }
  episodes_.push_back({});
  std::vector<bool> near;
  for (const std::vector<bool> &ofRouter : nodesNearCandidates(simulation.plan())) {
    near.insert(near.end(), ofRouter.begin(), ofRouter.end());
  }
  zones_.emplace(Pax::allGroups(simulation.plan().family), ZoneAccount(vrfOf_, near));
  simulation.observe(*this);
}

const ZoneAccount *Account::zone(const Pax::IpGenPrefix &zone) const {
  const auto found = zones_.find(zone);
  return found == zones_.end() ? nullptr : &found->second;
}

std::vector<Domain> Account::domains() const {
  std::vector<Domain> domains;
  for (const std::string &vrf : vrfs_) {
    for (const auto &[prefix, zone] : zones_) domains.push_back({vrf, prefix});
  }
  std::sort(domains.begin(), domains.end());
  return domains;
}

std::vector<size_t> Account::nodesIn(const std::string &vrf) const {
  std::vector<size_t> nodes;
  for (size_t i = 0; i < nodes_.size(); ++i) {
    if (vrfs_[vrfOf_[i]] == vrf) nodes.push_back(i);
  }
  return nodes;
}

std::vector<size_t> Account::counting(const Domain &domain) const {
  std::vector<size_t> nodes = nodesIn(domain.vrf);
  const ZoneAccount &zone = zones_.at(domain.zone);
  std::erase_if(nodes, [&](size_t node) { return !zone.counts(node); });
  return nodes;
}

const Spans &Account::disagreement(const Domain &domain) const {
  const auto vrf = std::find(vrfs_.begin(), vrfs_.end(), domain.vrf);
  return zones_.at(domain.zone).disagreement(static_cast<size_t>(vrf - vrfs_.begin()));
}

std::vector<Episode> Account::episodes() const {
  std::vector<Episode> episodes = episodes_;
  for (size_t i = 0; i + 1 < episodes.size(); ++i) episodes[i].end = episodes[i + 1].begin;
  episodes.back().end = simulation_.now();
  return episodes;
}

void Account::handleAction(const Action &action) {
  const double now = simulation_.now();
  const bool isNew = episodes_.back().begin < now;
  if (isNew) episodes_.push_back({now, now, {}});
  episodes_.back().actions.push_back(&action);
}

void Account::handleHeld(const Node &node) { changed_.push_back(placeOf(node)); }

void Account::handleInstant() {
  const double now = simulation_.now();
  for (const size_t node : changed_) tellHeld(node);
  changed_.clear();
  for (auto &[prefix, zone] : zones_) {
    if (reachChanged_) zone.regionsAre(regionsOf(prefix), now);
    for (const size_t vrf : zone.settle(now, episodes_.back().begin)) {
      if (watcher_) watcher_({vrfs_[vrf], prefix});
    }
  }
  reachChanged_ = false;
}

// To all zones: it may hold one no more.
void Account::tellHeld(size_t node) {
  const HeldByZone &held = simulation_.held(nodes_[node]);
  for (const auto &[prefix, each] : held) {
    if (zones_.contains(prefix)) continue;
    ZoneAccount &zone = zones_.emplace(prefix, ZoneAccount(vrfOf_, {})).first->second;
    zone.agentsAreAsIn(zones_.at(Pax::allGroups(simulation_.plan().family)));
    zone.regionsAre(regionsOf(prefix), simulation_.now());
  }
  for (auto &[prefix, zone] : zones_) {
    const auto each = held.find(prefix);
    zone.heldIs(node, each == held.end() ? nullptr : &each->second);
  }
}

std::vector<std::optional<size_t>> Account::regionsOf(const Pax::IpGenPrefix &zone) const {
  std::vector<std::optional<size_t>> all;
  for (const auto &ofRouter : simulation_.regions(zone)) all.insert(all.end(), ofRouter.begin(), ofRouter.end());
  return all;
}

}  // namespace Planning
