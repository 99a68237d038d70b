#include "daemon/Program.h"

#include <csignal>
#include <iostream>

#include "daemon/Daemon.h"
#include "daemon/control/Defaults.h"
#include "daemon/file/Schema.h"
#include "daemon/file/SystemWarnings.h"
#include "platform/tracelet/Sinks.h"

namespace Routing::Pim::Bsr {

namespace {

enum ExitCode { done = 0, failed = 1, badUsage = 2 };

// Errors and warnings to standard error.
void report(const std::string &file, const Findings &findings) {
  for (const Finding &error : findings.errors) std::cerr << toText(file, error) << '\n';
  for (const Finding &warning : findings.warnings) std::cerr << "warning: " << toText(file, warning) << '\n';
}

int runAgent(Pax::AddressFamily family, const Options &options) {
  const LoadedConfiguration loaded = configurationForHere(options.config, family);
  report(options.config, loaded.findings);
  if (!loaded.good()) return badUsage;
  if (options.action == Options::Action::check) return done;
  const auto sink = Tracelet::sinkFromEnvironment(agentName(family));
  std::signal(SIGPIPE, SIG_IGN);  // standard error may be a pipe whose reader has gone
  Daemon(family, options, loaded.configuration).run();
  return done;
}

}  // namespace

int runProgram(Pax::AddressFamily family, const std::vector<std::string> &arguments) {
  const std::string name = agentName(family);
  try {
    const Options options = optionsFrom(family, arguments);
    for (const auto &level : options.trace) traceLevelIs(level);
    switch (options.action) {
      case Options::Action::help: std::cout << usage(family); return done;
      case Options::Action::version: std::cout << name << ' ' << PIMBSR_VERSION << '\n'; return done;
      case Options::Action::schema: std::cout << schemaText(family); return done;
      case Options::Action::check:
      case Options::Action::run: break;
    }
    return runAgent(family, options);
  } catch (const UsageError &error) {
    std::cerr << name << ": " << error.what() << "\nTry '" << name << " --help'.\n";
    return badUsage;
  } catch (const std::exception &error) {
    std::cerr << name << ": " << error.what() << '\n';
    return failed;
  }
}

}  // namespace Routing::Pim::Bsr
