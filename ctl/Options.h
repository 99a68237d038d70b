/// The command line of pimbsrctl.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "daemon/control/Nouns.h"
#include "daemon/control/Request.h"

namespace Control {

/// The command line is wrong; what() says why.
class UsageError : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

struct Options {
  enum class Action { ask, watch, monitor, help, version };
  Action action = Action::ask;
  bool json = false;
  std::string program;  ///< which agent is asked, for messages
  std::string socket;
  Request request;
  std::string command;         ///< of --exec; empty: what is monitored is printed
  unsigned timeLimit = 30;     ///< of the command, in seconds
  const Noun *noun = nullptr;  ///< how the answer is laid out; null: as it comes
};

/// Throws UsageError.
Options optionsFrom(const std::vector<std::string> &arguments);
std::string usage();

}  // namespace Control
