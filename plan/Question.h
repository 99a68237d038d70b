/// What is asked of a router in a run.
#pragma once

#include <optional>
#include <string>

#include "daemon/control/Nouns.h"
#include "daemon/control/Request.h"
#include "plan/Simulation.h"

namespace Planning {

/// "r7 explain group 239.1.1.1 at 120": of a router, or of one of its VRFs as r7/blue, what "pimbsrctl show" or
/// "explain" would say there, at a time or in the end.
struct Question {
  std::string text;
  size_t router = 0;
  std::optional<size_t> vrf;  ///< unset: all
  bool explains = false;
  const Control::Noun *noun = nullptr;
  std::string argument;
  double at = 0;
};

/// Throws UsageError saying what is wrong, and how to ask. Asks the simulation, which did not run yet, to find
/// arguments that are none.
Question questionFrom(const std::string &text, const Simulation &simulation);
/// The rows of the answer, now.
Control::Rows answerTo(const Question &question, const Simulation &simulation);

}  // namespace Planning
