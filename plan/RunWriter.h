/// What a run tells, as it goes on and in the end.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "plan/Naming.h"
#include "plan/Outcome.h"
#include "plan/Question.h"
#include "view/Event.h"

namespace Planning {

/// All nodes of a zone that count have come to agree.
struct Agreement {
  struct On {
    Pax::IpGenAddr bsr;
    size_t rps = 0;    ///< each counted once, whatever it is RP of
    size_t nodes = 0;  ///< that hold it
  };
  double at = 0;
  Domain domain;
  std::vector<On> on;  ///< several where cuts or borders part the zone; the largest first
  double after = 0;    ///< seconds since the episode began
  std::string what;    ///< behind "after": "the agent of r1 crashed"
};

class RunWriter {
 public:
  virtual ~RunWriter() = default;
  virtual void writeEvent(double at, size_t router, const Routing::Pim::Bsr::Event &event) = 0;
  virtual void writeAction(double at, const Action &action) = 0;
  virtual void writeAgreement(const Agreement &agreement) = 0;
  /// `runs`: the agent that is asked; of one that does not run, the rows are what it left.
  virtual void writeAnswer(double at, const Question &question, const Control::Rows &rows, bool runs) = 0;
  /// The run is over.
  virtual void writeOutcome(const Plan &plan, const Outcome &outcome) = 0;
};

}  // namespace Planning
