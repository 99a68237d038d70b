#include "plan/Parts.h"

#include <algorithm>
#include <set>

namespace Planning {

namespace {

// Whether a router is ever to be a candidate BSR in a VRF.
bool isCandidate(const Plan &plan, const Node &node) {
  const Router &router = plan.routers[node.router];
  const L3::VrfName vrf(router.vrfs[node.vrf].name);
  const auto says = [&](const ConfigurationPtr &configuration) {
    if (!configuration) return false;
    const auto settings = configuration->vrfConfig.find(vrf);
    return settings != configuration->vrfConfig.end() && !settings->second.bsrCandidateConfig.empty();
  };
  return says(router.configuration) || std::any_of(plan.story.begin(), plan.story.end(), [&](const Action &action) {
           return action.verb == Verb::reload && action.router == node.router && says(action.configuration);
         });
}

}  // namespace

std::vector<std::vector<size_t>> partsOf(const Plan &plan) {
  std::vector<size_t> parent;  // by node
  std::vector<std::vector<size_t>> parts;
  for (const Router &router : plan.routers) {
    std::vector<size_t> &nodes = parts.emplace_back();
    for (size_t vrf = 0; vrf < router.vrfs.size(); ++vrf) {
      nodes.push_back(parent.size());
      parent.push_back(parent.size());
    }
  }
  const auto root = [&](size_t node) {
    while (parent[node] != node) node = parent[node] = parent[parent[node]];
    return node;
  };
  for (const Link &link : plan.links) {
    for (const Member &member : link.members) {
      const Member &first = link.members.front();
      parent[root(parts[member.router][member.vrf])] = root(parts[first.router][first.vrf]);
    }
  }
  for (std::vector<size_t> &nodes : parts) {
    for (size_t &node : nodes) node = root(node);
  }
  return parts;
}

std::vector<std::vector<bool>> nodesNearCandidates(const Plan &plan) {
  const auto parts = partsOf(plan);
  std::set<size_t> withCandidate;
  for (const Node &node : plan.nodes()) {
    if (isCandidate(plan, node)) withCandidate.insert(parts[node.router][node.vrf]);
  }
  std::vector<std::vector<bool>> near;
  for (const std::vector<size_t> &ofRouter : parts) {
    std::vector<bool> &nodes = near.emplace_back();
    for (const size_t part : ofRouter) nodes.push_back(withCandidate.empty() || withCandidate.contains(part));
  }
  return near;
}

}  // namespace Planning
