/// The program pimbsr-sim: its verbs and what they have in common.
#pragma once

#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "daemon/file/Findings.h"
#include "plan/Plan.h"

namespace Planning {

using Arguments = std::vector<std::string>;

/// Exit statuses.
enum Exit : int { done = 0, failed = 1, refused = 2 };

/// The command line is wrong; what() says why. Ends the program with `refused`.
class UsageError : public std::invalid_argument {
 public:
  using invalid_argument::invalid_argument;
};

/// Runs a command line without the program's name. Returns the exit status.
int program(const Arguments &arguments, std::ostream &out, std::ostream &err);

/// One verb: "run", what follows it in the usage, what it does in a line, and how. It returns the exit status, and
/// throws UsageError, InputFault, or any other std::exception, which ends the program with `failed`.
struct ProgramVerb {
  const char *name;
  const char *synopsis;
  const char *help;
  int (*run)(const Arguments &arguments, std::ostream &out, std::ostream &err);
};

// Each in a file of its own.
int checkPlan(const Arguments &arguments, std::ostream &out, std::ostream &err);
int runPlan(const Arguments &arguments, std::ostream &out, std::ostream &err);
int drawPlan(const Arguments &arguments, std::ostream &out, std::ostream &err);
int generatePlan(const Arguments &arguments, std::ostream &out, std::ostream &err);
int importPlan(const Arguments &arguments, std::ostream &out, std::ostream &err);
int mergeResults(const Arguments &arguments, std::ostream &out, std::ostream &err);
int printSchema(const Arguments &arguments, std::ostream &out, std::ostream &err);
int sweepPlan(const Arguments &arguments, std::ostream &out, std::ostream &err);

/// A line for each of the first, behind "error: " or "warning: ".
void tellFindings(const char *kind, const std::vector<Routing::Pim::Bsr::Finding> &findings, const std::string &file,
                  std::ostream &err);
/// Reads the plan, and tells warnings. Throws PlanRefused when it has errors, which are told, too.
Plan planOf(const std::string &file, std::ostream &err);
/// The errors are told; ends the program with `refused`.
class PlanRefused : public std::exception {};

}  // namespace Planning
