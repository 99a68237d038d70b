/// Judges what a plan expects.
#pragma once

#include <string>
#include <vector>

#include "plan/Account.h"
#include "plan/Naming.h"

namespace Planning {

struct Verdict {
  bool holds = false;
  std::string seen;  ///< in words: "r7 had r2 (10.0.0.2), r8 none; the other 13 as expected"
  bool operator==(const Verdict &) const = default;
};

/// Made after the account and before the simulation runs; goes before both. Looks at what has to hold at a time when
/// everything else of that time is over, and at the rest in the end.
class Judge : public Observer {
 public:
  Judge(Simulation &simulation, const Account &account);

  /// When the run is over: of each expectation, in the order of the plan.
  std::vector<Verdict> verdicts() const;

  void handleInstant() override;

 private:
  Verdict look(const Expectation &expectation) const;
  Verdict lookBack(const Expectation &expectation) const;
  /// Whether the agent runs there now and does not stand by.
  bool takesPart(const Node &node) const;
  /// Whether the node is asked what it holds now.
  bool isAsked(const Expectation &expectation, const Node &node) const;
  /// "" where it is as expected, or else "r2 (10.0.0.2)", "none"...
  std::string differenceAt(const Expectation &expectation, const Node &node) const;
  std::vector<Pax::IpGenAddr> rpsOf(const Pax::IpGenAddr &group, const Node &node) const;
  /// When the node was not as expected, and whether it was asked at all.
  std::pair<Spans, bool> outagesOf(const Expectation &expectation, const Node &node) const;

  Simulation &simulation_;
  const Account &account_;
  const Naming naming_;
  std::vector<Verdict> verdicts_;
  std::vector<size_t> waiting_;  // expectations by time, the next one last
};

}  // namespace Planning
