#include "platform/sim/Network.h"

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
      time_, name, subnet, parameters, seedFor(2 * uint64_t{index} + 1), [this] { topologyChanged(); }));
  linkByName_[name] = &link;
  linkBySubnet_[subnet] = &link;
  return link;
}

Link &Network::linkIs(const std::string &name, const std::vector<std::string> &routers,
                      const LinkParameters &parameters) {
  Link &link = linkIs(name, parameters);
  for (const std::string &member : routers) router(member).join(link);
  return link;
}

void Network::ownerIs(const Pax::IpGenAddr &address, Router &router) {
  owner_[address] = &router;
  topologyChanged();
}

const Network::Distances &Network::distancesTo(const Pax::IpGenAddr &destination) {
  if (distancesVersion_ != topologyVersion_) distances_.clear();
  distancesVersion_ = topologyVersion_;
  const auto [known, isNew] = distances_.try_emplace(destination);
  if (isNew) known->second = workOut(destination);
  return known->second;
}

Network::Distances Network::workOut(const Pax::IpGenAddr &destination) const {
  Distances distances(routers_.size(), unreachable);
  std::vector<uint32_t> reached = endsOf(destination);
  for (const uint32_t end : reached) distances[end] = 0;
  for (size_t i = 0; i < reached.size(); ++i) {
    for (const Intf &intf : routers_[reached[i]]->intfs()) {
      if (!intf.isUp() || intf.link().isCut()) continue;
      for (const Intf *member : intf.link().members()) {
        uint32_t &distance = distances[member->router().index()];
        if (distance != unreachable || !member->isUp()) continue;
        distance = distances[reached[i]] + 1;
        reached.push_back(member->router().index());
      }
    }
  }
  return distances;
}

std::vector<uint32_t> Network::endsOf(const Pax::IpGenAddr &destination) const {
  std::vector<uint32_t> ends;
  if (const auto owner = owner_.find(destination); owner != owner_.end()) {
    if (owner->second->hasPower()) ends.push_back(owner->second->index());
    return ends;
  }
  const uint8_t length = linkSubnet(family_, 0).length();
  const auto link = linkBySubnet_.find(Pax::IpGenPrefix(destination, length));
  if (link == linkBySubnet_.end() || link->second->isCut()) return ends;
  for (const Intf *member : link->second->members()) {
    if (member->isUp()) ends.push_back(member->router().index());
  }
  return ends;
}

}  // namespace Sim
