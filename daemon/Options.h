/// The command line of the programs.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/pax/IpGenAddr.h"
#include "view/Event.h"

namespace Routing::Pim::Bsr {

/// The command line is wrong; what() says why.
class UsageError : public std::invalid_argument {
 public:
  using invalid_argument::invalid_argument;
};

struct Options {
  enum class Action { run, check, schema, version, help };
  Action action = Action::run;
  std::string config;
  std::string socket;
  std::string state;
  bool standby = false;                            ///< start as the standby controller
  std::vector<std::pair<std::string, int>> trace;  ///< module, level
  std::optional<Severity> logLevel;                ///< the least of events that are logged; unset: as configured
};

/// Throws UsageError. Defaults are those of the family.
Options optionsFrom(Pax::AddressFamily family, const std::vector<std::string> &arguments);
std::string usage(Pax::AddressFamily family);

/// From "MODULE=LEVEL", with a level from 0 to 9; throws UsageError.
std::pair<std::string, int> traceLevelFrom(const std::string &text);
/// Sets the level; throws UsageError when there is no such module.
void traceLevelIs(const std::pair<std::string, int> &level);

}  // namespace Routing::Pim::Bsr
