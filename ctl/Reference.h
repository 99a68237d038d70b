/// What is made from the table of nouns and the options: the manual, the reference of the documentation, and
/// completion.
#pragma once

#include <string>

#include "daemon/control/Request.h"

namespace Control {

/// The page pimbsrctl(1), for scdoc.
std::string manual();
/// docs/pimbsrctl.md
std::string reference();
/// A script for bash, or the function _pimbsrctl for zsh. It asks pimbsrctl for what only the agent knows.
std::string bashCompletion();
std::string zshCompletion();

/// "bash", "zsh", "manual" or "reference"; empty for anything else.
std::string printed(std::string_view what);

/// What a kind of word that is completed from the agent ("vrfs", "zones", ...) is taken from.
struct Completed {
  const char *kind;
  const char *verb;
  const char *noun;
  const char *column;
};
/// Null when there is no such kind.
const Completed *completedOf(std::string_view kind);
std::string completedKinds();

}  // namespace Control
