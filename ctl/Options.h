/// The command line of pimbsrctl.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "ctl/Completion.h"
#include "daemon/control/Nouns.h"
#include "daemon/control/Request.h"
#include "daemon/control/Table.h"

namespace Control {

/// The command line is wrong; what() says why.
class UsageError : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

struct Options {
  enum class Action { ask, watch, monitor, follow, help, version, print };
  Action action = Action::ask;
  bool json = false;
  TableOptions table;   ///< without --json
  double interval = 1;  ///< seconds between two looks, where no stream tells of changes
  std::string program;  ///< which agent is asked, for messages
  std::string socket;
  Request request;
  std::string command;                   ///< of --exec; empty: what is monitored is printed
  unsigned timeLimit = 30;               ///< of the command, in seconds
  std::string help;                      ///< that is asked for
  const Noun *noun = nullptr;            ///< how the answer is laid out; null: as it comes
  const Completed *completed = nullptr;  ///< of which the words are printed, one a line
};

/// Throws UsageError.
Options optionsFrom(const std::vector<std::string> &arguments);

/// What --severity takes, the worst first, with blanks between them.
inline constexpr const char *severities = "emergency alert critical error warning notice info debug";

/// An option, as the manual and completion have it.
struct OptionHelp {
  std::vector<std::string> names;  ///< "-j", "--json"
  std::string value;               ///< "PATH"; empty where it takes none
  std::string help;
};
std::vector<OptionHelp> optionsHelp();

}  // namespace Control
