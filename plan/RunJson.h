/// A run as programs read it: JSON lines, an object each, in the order of time. Times are seconds from the beginning.
///
///   {"type": "event", "at": 5.0, "router": "r1", "severity": "notice", "vrf": "default", "kind": "bsrElected", ...}
///       what "pimbsrctl --json show events" has of it; events are not folded
///   {"type": "action", "at": 200.0, "text": "The agent of r1 crashes"}
///   {"type": "agreed", "at": 332.0, "vrf": "default", "zone": "224.0.0.0/4", "after": 132.0,
///    "what": "the agent of r1 crashed", "on": [{"bsr": "192.168.0.2", "router": "r2", "rps": 2, "nodes": 7}]}
///   {"type": "answer", "at": 120.0, "question": "r7 show bsr at 120", "runs": true, "rows": [...]}
///   {"type": "episode", "at": 200.0, "until": 500.0, "what": "The agent of r1 crashes", "zones": [{"vrf", "zone",
///    "nodes", "withoutBsr": {"least", "median", "most", "nodes", "which"}, "withoutRp", "disagreed", "agreedAfter"}]}
///   {"type": "expectation", "text": "...", "holds": true, "seen": "..."}
///   {"type": "end", "at": 500.0, "seed": 1, "holds": true, "bsrs": [{"vrf", "zone", "bsr", "router", "nodes"}]}
///       always the last one
#pragma once

#include "plan/RunWriter.h"

namespace Planning {

class RunJson : public RunWriter {
 public:
  RunJson(const Plan &plan, std::ostream &out) : plan_(plan), naming_(plan), out_(out) {}

  void writeEvent(double at, size_t router, const Routing::Pim::Bsr::Event &event) override;
  void writeAction(double at, const Action &action) override;
  void writeAgreement(const Agreement &agreement) override;
  void writeAnswer(double at, const Question &question, const Control::Rows &rows, bool runs) override;
  void writeOutcome(const Plan &plan, const Outcome &outcome) override;

 private:
  void write(const Control::Rows &line);

  const Plan &plan_;
  const Naming naming_;
  std::ostream &out_;
};

}  // namespace Planning
