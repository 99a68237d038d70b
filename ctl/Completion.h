/// Completion of the command line in a shell, made from the table of nouns and the options.
#pragma once

#include <string>
#include <string_view>

namespace Control {

/// A script for bash, or the function _pimbsrctl for zsh. It asks pimbsrctl for what only the agent knows.
std::string bashCompletion();
std::string zshCompletion();

/// What a kind of word that is completed from the agent ("vrfs", "zones", ...) is taken from.
struct Completed {
  const char *kind;
  const char *verb;
  const char *noun;
  const char *column;
};
/// Null when there is no such kind.
const Completed *completedOf(std::string_view kind);

}  // namespace Control
