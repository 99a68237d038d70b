#include "daemon/Program.h"

#include <unistd.h>

#include <csignal>
#include <iostream>

#include "daemon/Daemon.h"
#include "daemon/EventLines.h"
#include "daemon/control/Defaults.h"
#include "daemon/file/Schema.h"
#include "daemon/file/SystemWarnings.h"
#include "platform/linux/Capabilities.h"
#include "platform/linux/StderrSink.h"

namespace Routing::Pim::Bsr {

namespace {

enum ExitCode { done = 0, failed = 1, badUsage = 2 };

// Errors and warnings to standard error, which an agent that goes on must not wait for.
void report(const Options &options, const Findings &findings) {
  const bool isCheck = options.action == Options::Action::check;
  std::vector<std::string> lines;
  const auto add = [&](const char *lead, const std::string &text) {
    lines.push_back((isCheck || !EventLines::isForJournal() ? "" : lead) + text);
  };
  for (const Finding &error : findings.errors) add("<3>", toText(options.config, error));
  for (const Finding &warning : findings.warnings) add("<4>", "warning: " + toText(options.config, warning));
  if (isCheck || !findings.errors.empty()) {
    for (const std::string &line : lines) std::cerr << line << '\n';
    for (const std::string &line : findings.found) std::cout << line << '\n';
  } else {
    Linux::LineWriter writer(STDERR_FILENO);
    for (const std::string &line : lines) writer.line(line);
  }
}

int runAgent(Pax::AddressFamily family, const Options &options) {
  const LoadedConfiguration loaded = configurationForHere(options.config, family);
  std::signal(SIGPIPE, SIG_IGN);  // standard error may be a pipe whose reader has gone
  report(options, loaded.findings);
  if (!loaded.good()) return badUsage;
  if (options.action == Options::Action::check) return done;
  const auto sink = Linux::sinkFromEnvironment(agentName(family), !options.trace.empty());
  Linux::keepNeededCapabilities();
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
    std::cerr << (EventLines::isForJournal() ? "<3>" : "") << name << ": " << error.what() << '\n';
    return failed;
  }
}

}  // namespace Routing::Pim::Bsr
