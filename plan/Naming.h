/// How nodes, addresses and seconds are called in what a run tells.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "plan/Domain.h"
#include "plan/Plan.h"

namespace Planning {

/// Outlived by the plan.
class Naming {
 public:
  explicit Naming(const Plan &plan);

  std::string nameOf(const Node &node) const { return plan_.nameOf(node); }
  /// "224.0.0.0/4", or "224.0.0.0/4 in VRF blue" in a plan with VRFs.
  std::string textOf(const Domain &domain) const { return toText(domain, plan_.hasVrfs()); }
  /// The router that has the address from the beginning on, in a VRF of this name or, where it is in none of these, in
  /// any; empty if none has it, or several have.
  std::string routerWith(const Pax::IpGenAddr &address, const std::string &vrf) const;
  /// "r2 (10.0.0.2)", or the address alone; "none" of an unset one.
  std::string textOf(const Pax::IpGenAddr &address, const std::string &vrf) const;
  /// "r3, r4 and 97 others"; up to `most` of them by name, all if there is but one more.
  std::string listOf(const std::vector<Node> &nodes, size_t most = 4) const;
  /// What happened, behind "after": "link r1-r2 was cut and the agent of r3 crashed"; "the start" if it is nothing.
  std::string pastOf(const std::vector<const Action *> &actions) const;

 private:
  std::string pastOf(const Action &action) const;

  const Plan &plan_;
  std::map<std::pair<Pax::IpGenAddr, std::string>, std::string> routers_;  // by VRF, or by "" in all of them
};

/// "1 router", "2 routers"; "2 addresses" where an "s" does not do.
std::string counted(size_t number, const std::string &what, const std::string &several = "");
/// "12.3", "0.012", "0": as brief as a table wants them.
std::string briefSeconds(double seconds);
/// To the millisecond: "12.34".
std::string exactSeconds(double seconds);
/// To the microsecond, which is what JSON has.
double roundedSeconds(double seconds);

}  // namespace Planning
