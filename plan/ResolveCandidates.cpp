#include <algorithm>

#include "daemon/file/JsonText.h"
#include "plan/Parts.h"
#include "plan/Resolver.h"

namespace Planning {

using Kind = Expectation::Kind;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;
using Routing::Pim::Bsr::joined;
using Routing::Pim::Bsr::pathTo;

namespace {

bool isOfRp(const Expectation &expectation) {
  return expectation.kind == Kind::rp || expectation.kind == Kind::withoutRp;
}

using Addresses = std::map<double, IpGenAddr>;  // by when they come

// What a candidate on the interface has in turn: the first global address that is there.
Addresses addressesOf(const Plan &plan, const Node &node, const Pax::IntfId &intfId) {
  const auto &interfaces = plan.routers[node.router].vrfs[node.vrf].interfaces;
  const auto interface = std::find_if(interfaces.begin(), interfaces.end(),
                                      [&](const Interface &each) { return each.name == intfId.name(); });
  Addresses all;
  if (interface == interfaces.end()) return all;
  std::vector<Sim::IntfAddress> there = interface->addresses;
  const auto note = [&](double at) {
    const auto first =
        std::find_if(there.begin(), there.end(), [](const auto &each) { return !each.address.isLinkLocal(); });
    if (first != there.end()) all[at] = first->address;
  };
  note(0);
  const auto place = static_cast<size_t>(interface - interfaces.begin());
  for (const Action &action : plan.story) {
    const bool isHere = action.router == node.router && action.vrf == node.vrf && action.interface == place;
    if (!isHere || action.verb < Verb::addAddress) continue;
    std::erase_if(there, [&](const auto &each) { return each.address == action.address.address; });
    if (action.verb == Verb::addAddress) there.push_back(action.address);
    note(action.at);
  }
  return all;
}

// That a router which is named may have then, and all where an address is given.
void insertOf(const Addresses &addresses, const Expectation &expectation, std::set<IpGenAddr> &candidates) {
  const bool isNamed = expectation.kind < Kind::agree && !expectation.address;
  const auto next = addresses.upper_bound(expectation.at);
  if (isNamed && next != addresses.begin()) {
    candidates.insert(std::prev(next)->second);
  } else {
    for (const auto &[at, address] : addresses) candidates.insert(address);
  }
}

enum class Role : uint8_t { bsr, rp };

// The addresses with which the configuration makes the router a candidate for what is expected, or for the BSR that an
// RP needs for it.
std::set<IpGenAddr> candidatesIn(const Routing::Pim::Bsr::Configuration &configuration, const Plan &plan,
                                 const Node &node, const Expectation &expectation, Role role) {
  std::set<IpGenAddr> candidates;
  const Vrf &vrf = plan.routers[node.router].vrfs[node.vrf];
  const auto settings = configuration.vrfConfig.find(L3::VrfName(vrf.name));
  if (settings == configuration.vrfConfig.end()) return candidates;
  if (role == Role::rp) {
    for (const auto &[intfId, candidacy] : settings->second.rpCandidateConfig) {
      const auto serves = [&](const auto &range) {
        return expectation.kind == Kind::rp
                   ? range.first.covers(IpGenPrefix::host(expectation.group))
                   : range.first.covers(expectation.zone) || expectation.zone.covers(range.first);
      };
      const auto &ranges = candidacy.groupRange;
      if (!candidacy.acl.empty() || std::any_of(ranges.begin(), ranges.end(), serves)) {
        insertOf(addressesOf(plan, node, intfId), expectation, candidates);
      }
    }
  } else {
    for (const auto &[intfId, candidacy] : settings->second.bsrCandidateConfig) {
      const auto isOfZone = [&](const auto &zone) {
        return expectation.kind == Kind::rp ? zone.first.covers(IpGenPrefix::host(expectation.group))
                                            : zone.first == expectation.zone;
      };
      const auto &zones = candidacy.group;
      if (!candidacy.acl.empty() || std::any_of(zones.begin(), zones.end(), isOfZone))
        insertOf(addressesOf(plan, node, intfId), expectation, candidates);
    }
  }
  return candidates;
}

// Who may ever be what is expected, where links lead to from those that are asked.
struct Candidates {
  std::map<std::string, std::set<IpGenAddr>> byRouter;
  bool areAll = true;  // links lead everywhere
};

Candidates candidatesFor(const Plan &plan, const Expectation &expectation, Role role) {
  const auto parts = partsOf(plan);
  std::set<size_t> asked;
  for (const Node &node : expectation.nodes) asked.insert(parts[node.router][node.vrf]);
  Candidates candidates;
  const auto take = [&](size_t place, const ConfigurationPtr &configuration) {
    const Router &router = plan.routers[place];
    for (size_t vrf = 0; vrf < router.vrfs.size(); ++vrf) {
      const bool isReached = asked.contains(parts[place][vrf]);
      candidates.areAll = candidates.areAll && isReached;
      if (!isReached) continue;
      const std::set<IpGenAddr> addresses = candidatesIn(*configuration, plan, {place, vrf}, expectation, role);
      if (!addresses.empty()) candidates.byRouter[router.name].insert(addresses.begin(), addresses.end());
    }
  };
  for (size_t router = 0; router < plan.routers.size(); ++router) take(router, plan.routers[router].configuration);
  for (const Action &action : plan.story) {
    if (action.configuration) take(action.router, action.configuration);
  }
  return candidates;
}

bool hasRun(const Plan &plan, size_t router, double until) {
  const auto start = plan.routers[router].start;
  return (start && *start <= until) || std::any_of(plan.story.begin(), plan.story.end(), [&](const Action &action) {
           const bool starts = action.verb == Verb::start || action.verb == Verb::powerOn;
           return starts && action.router == router && action.at <= until;
         });
}

}  // namespace

// Somebody has to be a candidate for it, at first or after a reload, and those that are named have to run; or else it
// can never hold.
void Resolver::resolveCandidate(const std::string &text, const std::string &path, Expectation &expectation) {
  if (text == "none") return;
  refuseSilent(path, expectation);
  const auto &[byRouter, areAll] = candidatesFor(plan_, expectation, isOfRp(expectation) ? Role::rp : Role::bsr);
  const bool isOfGroup = expectation.kind == Kind::rp;
  std::string of = isOfGroup ? Kiv::toText(expectation.group) : Kiv::toText(expectation.zone);
  if (!areAll) {
    std::vector<std::string> names;
    for (const Node &node : expectation.nodes) names.push_back(plan_.nameOf(node));
    of += " within reach of ";
    of += expectation.named ? joined(names, ", ") : "VRF default";
  }
  std::string what = isOfRp(expectation) ? " a candidate RP of " : " a candidate BSR of ";
  what += of;
  if (byRouter.empty()) return error(path, "can never hold: no router is ever" + what);
  if (isOfRp(expectation) && candidatesFor(plan_, expectation, Role::bsr).byRouter.empty()) {
    std::string told = "can never hold: no router is ever a candidate BSR of ";
    told.append(isOfGroup ? "a zone of " : "").append(of).append(", without which there are no RPs");
    return error(path, told);
  }
  if (text.empty()) return;
  const std::string at = path + (isOfRp(expectation) ? "/rp" : "/bsr");
  if (expectation.address) {
    const bool isAny = std::any_of(byRouter.begin(), byRouter.end(),
                                   [&](const auto &each) { return each.second.contains(*expectation.address); });
    if (!isAny) error(at, "can never hold: no router with the address " + text + " is ever" + what);
    return;
  }
  const auto own = byRouter.find(text);
  if (own == byRouter.end()) return error(at, "can never hold: " + text + " is never" + what);
  if (own->second.size() > 1) {
    return error(at, text + " has several addresses for that: give one, or each VRF an expectation of its own");
  }
  expectation.address = *own->second.begin();
}

// Those that are named and have not run by then.
void Resolver::refuseSilent(const std::string &path, const Expectation &expectation) {
  if (!expectation.named) return;
  const double until = expectation.kind < Kind::agree ? expectation.at : expectation.to;
  for (size_t i = 0; i < expectation.nodes.size(); ++i) {
    const size_t router = expectation.nodes[i].router;
    if (hasRun(plan_, router, until)) continue;
    error(pathTo(path + "/routers", std::to_string(i)),
          "can never hold: the agent of " + plan_.routers[router].name + " has not run by then");
  }
}

}  // namespace Planning
