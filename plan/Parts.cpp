#include "plan/Parts.h"

namespace Planning {

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

}  // namespace Planning
