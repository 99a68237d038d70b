/// What the pictures of one run have in common, so that a reader finds in one what the other shows.
#pragma once

#include <map>
#include <set>
#include <string>
#include <tuple>

#include "plan/Domain.h"
#include "plan/Plan.h"

namespace Planning {

/// Names of addresses, letters of zones, colors of BSRs, and which nodes belong to which zone. Zones and BSRs are
/// numbered as they are asked for. The plan outlives it.
class Legend {
 public:
  explicit Legend(const Plan &plan);

  const Plan &plan() const { return plan_; }
  Domain domainOf(const Node &node, const Pax::IpGenPrefix &zone) const;
  /// The node that has the address in a VRF of this name, at first or in the story; the first of several. Where it is
  /// in none of these, the only one that has it in any. "r1", or the address itself where there is none.
  std::string nameOf(const std::string &vrf, const Pax::IpGenAddr &address) const;
  /// "A" of all groups, then "B", "C", ...
  const std::string &letterOf(const Pax::IpGenPrefix &zone);
  /// All groups included.
  size_t zones() const { return letters_.size(); }
  /// Light enough for a dark text. Where there are many BSRs, some have the same.
  const char *colorOf(const Pax::IpGenAddr &bsr);

  /// The node has been seen in the zone.
  void joins(const Node &node, const Pax::IpGenPrefix &zone) { members_.emplace(node.router, node.vrf, zone); }
  /// Whether the node should have a BSR of the zone: it has been seen there, or the zone is that of all groups and
  /// links lead to the node from a candidate.
  bool belongs(const Node &node, const Pax::IpGenPrefix &zone) const;

 private:
  const Plan &plan_;
  std::map<std::pair<std::string, Pax::IpGenAddr>, std::string> names_;  // by VRF, or by "" in all of them
  std::map<Pax::IpGenPrefix, std::string> letters_;
  std::map<Pax::IpGenAddr, size_t> colors_;
  std::vector<std::vector<bool>> near_;  // candidates, by router and VRF
  std::set<std::tuple<size_t, size_t, Pax::IpGenPrefix>> members_;
};

}  // namespace Planning
