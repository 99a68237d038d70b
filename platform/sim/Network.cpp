#include "platform/sim/Network.h"

#include <algorithm>
#include <queue>

#include "platform/sim/Addresses.h"

namespace Sim {

namespace {

// Makes unrelated seeds of one seed and different uses (the finisher of SplitMix64).
uint64_t mix(uint64_t number) {
  number = (number ^ (number >> 30)) * 0xbf58476d1ce4e5b9;
  number = (number ^ (number >> 27)) * 0x94d049bb133111eb;
  return number ^ (number >> 31);
}

}  // namespace

uint64_t Network::seedFor(uint64_t use) const { return mix(mix(seed_) + use * 0x9e3779b97f4a7c15); }

Router &Network::router(const std::string &name, const std::string &vrf) {
  Router *&router = routerByName_[name];
  if (!router) {
    const auto index = static_cast<uint32_t>(routers_.size());
    router =
        routers_.emplace_back(std::make_unique<Router>(*this, name, vrf, index, seedFor(2 * uint64_t{index}))).get();
  }
  return *router;
}

Link &Network::linkIs(const std::string &name, const LinkParameters &parameters) {
  REQUIRE(!linkByName_.contains(name));
  const auto index = static_cast<uint32_t>(links_.size());
  const Pax::IpGenPrefix subnet = linkSubnet(family_, index);
  Link &link = *links_.emplace_back(std::make_unique<Link>(
      time_, frames_, name, subnet, parameters, seedFor(2 * uint64_t{index} + 1), [this] { topologyChanged(); }));
  linkByName_[name] = &link;
  return link;
}

Link &Network::linkIs(const std::string &name, const std::vector<std::string> &routers,
                      const LinkParameters &parameters) {
  Link &link = linkIs(name, parameters);
  for (const std::string &member : routers) router(member).join(link);
  return link;
}

void Network::ownerIs(const Pax::IpGenAddr &address, Router &router) {
  const auto [first, last] = owners_.equal_range(address);
  const bool isKnown = std::any_of(first, last, [&](const auto &owner) { return owner.second == &router; });
  if (!isKnown) owners_.emplace(address, &router);
  topologyChanged();
}

void Network::subnetIs(const IntfAddress &address, Intf &intf) {
  if (address.subnet == Pax::IpGenPrefix::host(address.address)) return ownerIs(address.address, intf.router());
  const auto [first, last] = linksBySubnet_.equal_range(address.subnet);
  const bool isKnown = std::any_of(first, last, [&](const auto &link) { return link.second == &intf.link(); });
  if (!isKnown) linksBySubnet_.emplace(address.subnet, &intf.link());
  subnetLengths_.insert(address.subnet.length());
}

const Network::Distances &Network::distancesTo(const Pax::IpGenAddr &destination) {
  if (distancesVersion_ != topologyVersion_) distances_.clear();
  distancesVersion_ = topologyVersion_;
  const auto [known, isNew] = distances_.try_emplace(destination);
  if (isNew) known->second = workOut(destination);
  return known->second;
}

// Dijkstra's algorithm, from the ends.
Network::Distances Network::workOut(const Pax::IpGenAddr &destination) const {
  Distances distances(routers_.size(), unreachable);
  using Reached = std::pair<uint32_t, uint32_t>;  // at this distance, the router of this index
  std::priority_queue<Reached, std::vector<Reached>, std::greater<>> next;
  for (const uint32_t end : endsOf(destination)) next.emplace(distances[end] = 0, end);
  while (!next.empty()) {
    const auto [distance, index] = next.top();
    next.pop();
    if (distance > distances[index]) continue;  // there is a shorter way, which has been followed
    for (const Intf &intf : routers_[index]->intfs()) {
      if (!intf.isUp() || intf.link().isCut()) continue;
      const uint32_t further = distance + intf.link().parameters().cost;
      for (const Intf *member : intf.link().members()) {
        uint32_t &known = distances[member->router().index()];
        if (known <= further || !member->isUp()) continue;
        next.emplace(known = further, member->router().index());
      }
    }
  }
  return distances;
}

std::set<uint32_t> Network::endsOf(const Pax::IpGenAddr &destination) const {
  std::set<uint32_t> ends;
  const auto [owner, lastOwner] = owners_.equal_range(destination);
  for (auto each = owner; each != lastOwner; ++each) {
    if (each->second->hasPower() && each->second->owns(destination)) ends.insert(each->second->index());
  }
  if (owner != lastOwner) return ends;
  for (const uint8_t length : subnetLengths_) {
    const auto [link, lastLink] = linksBySubnet_.equal_range(Pax::IpGenPrefix(destination, length));
    for (auto each = link; each != lastLink; ++each) {
      for (const Intf *member : each->second->members()) {
        const bool leadsThere = !each->second->isCut() || member->status()->address().contains(destination);
        if (member->isUp() && leadsThere) ends.insert(member->router().index());
      }
    }
    if (link != lastLink) return ends;
  }
  return ends;
}

}  // namespace Sim
