#include "plan/Legend.h"

#include <array>

#include "plan/Parts.h"
#include "platform/kiv/Value.h"

namespace Planning {

namespace {

constexpr std::array colors{"#9ecae9", "#ffbf79", "#a5d69b", "#f2a7b5", "#cbb5e2", "#f3e08a",
                            "#8fd3cf", "#d8b59a", "#e8a3e0", "#c6e26b", "#a9b8ff"};

// A, ..., Z, AA, AB, ...
std::string letters(size_t number) {
  std::string text;
  for (++number; number > 0; number = (number - 1) / 26) {
    text.insert(text.begin(), static_cast<char>('A' + (number - 1) % 26));
  }
  return text;
}

}  // namespace

Legend::Legend(const Plan &plan) : plan_(plan), near_(nodesNearCandidates(plan)) {
  letterOf(Pax::allGroups(plan.family));
  const auto add = [&](const Node &node, const Sim::IntfAddress &address) {
    const std::string name = plan.nameOf(node);
    names_.try_emplace({plan.routers[node.router].vrfs[node.vrf].name, address.address}, name);
    const auto [known, isNew] = names_.try_emplace({"", address.address}, name);
    if (!isNew && known->second != name) known->second.clear();
  };
  for (const Node &node : plan.nodes()) {
    for (const Interface &interface : plan.routers[node.router].vrfs[node.vrf].interfaces) {
      for (const Sim::IntfAddress &address : interface.addresses) add(node, address);
    }
  }
  for (const Action &action : plan.story) {
    if (action.verb == Verb::addAddress) add({action.router, action.vrf}, action.address);
  }
}

Domain Legend::domainOf(const Node &node, const Pax::IpGenPrefix &zone) const {
  return {plan_.routers[node.router].vrfs[node.vrf].name, zone};
}

std::string Legend::nameOf(const std::string &vrf, const Pax::IpGenAddr &address) const {
  auto name = names_.find({vrf, address});
  if (name == names_.end()) name = names_.find({"", address});
  return name == names_.end() || name->second.empty() ? Kiv::toText(address) : name->second;
}

const std::string &Legend::letterOf(const Pax::IpGenPrefix &zone) {
  const auto [letter, isNew] = letters_.try_emplace(zone);
  if (isNew) letter->second = letters(letters_.size() - 1);
  return letter->second;
}

const char *Legend::colorOf(const Pax::IpGenAddr &bsr) {
  return colors[colors_.try_emplace(bsr, colors_.size()).first->second % colors.size()];
}

bool Legend::belongs(const Node &node, const Pax::IpGenPrefix &zone) const {
  const bool isNear = zone == Pax::allGroups(plan_.family) && near_[node.router][node.vrf];
  return isNear || members_.contains({node.router, node.vrf, zone});
}

}  // namespace Planning
