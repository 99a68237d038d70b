#include "daemon/AclOrder.h"

#include <algorithm>

namespace Routing::Pim::Bsr {

namespace {

struct Change {
  std::string name;
  Prefixes lost;
  Prefixes gained;
};

Prefixes without(Prefixes some, const Prefixes &others) {
  std::erase_if(some, [&](const auto &prefix) { return others.contains(prefix); });
  return some;
}

bool meet(const Prefixes &some, const Prefixes &others) {
  return std::any_of(some.begin(), some.end(), [&](const auto &prefix) { return others.contains(prefix); });
}

std::vector<Change> changes(const Configuration &before, const Configuration &wanted) {
  std::vector<Change> changes;
  for (const auto &[name, rules] : wanted.acl) {
    const auto present = before.acl.find(name);
    if (present == before.acl.end() || present->second == rules) continue;
    const Prefixes then = permittedPrefixes(present->second, wanted.family);
    const Prefixes now = permittedPrefixes(rules, wanted.family);
    changes.push_back({name, without(then, now), without(now, then)});
  }
  return changes;
}

bool zonesOfTwoInterfaces(const std::vector<OfferedZones> &offered, const std::string &one, const std::string &other) {
  return std::any_of(offered.begin(), offered.end(), [&](const OfferedZones &vrf) {
    const auto found = vrf.acl.find(one);
    return found != vrf.acl.end() && byAnother(vrf.acl, other, found->second);
  });
}

bool mustPrecede(const std::vector<OfferedZones> &offered, const Change &one, const Change &other) {
  if (one.name == other.name) return false;
  return zonesOfTwoInterfaces(offered, one.name, other.name) ? meet(one.lost, other.gained)
                                                             : meet(one.gained, other.lost);
}

}  // namespace

OfferedZones offeredZones(const Configuration &configuration, const L3::VrfName &vrf) {
  OfferedZones offered;
  const auto settings = configuration.vrfConfig.find(vrf);
  if (settings == configuration.vrfConfig.end()) return offered;
  for (const auto &[intfId, candidacy] : settings->second.bsrCandidateConfig) {
    for (const Pax::IpGenPrefix &zone : zonesOf(configuration, candidacy)) offered.zone.emplace(zone, intfId);
    for (const auto &[acl, options] : candidacy.acl) offered.acl.emplace(acl, intfId);
  }
  return offered;
}

std::vector<std::string> changedAcls(const Configuration &before, const Configuration &wanted) {
  std::vector<OfferedZones> offered;
  for (const auto &[vrf, settings] : wanted.vrfConfig) offered.push_back(offeredZones(wanted, vrf));
  std::vector<Change> left = changes(before, wanted);
  std::vector<std::string> ordered;
  while (!left.empty()) {
    const auto first = std::find_if(left.begin(), left.end(), [&](const Change &change) {
      return std::none_of(left.begin(), left.end(),
                          [&](const Change &other) { return mustPrecede(offered, other, change); });
    });
    const auto next = first == left.end() ? left.begin() : first;
    ordered.push_back(next->name);
    left.erase(next);
  }
  return ordered;
}

}  // namespace Routing::Pim::Bsr
