// pimbsrctl: asks a running agent. Exit codes: 0 done, 1 failed, 2 bad usage.
#include <unistd.h>

#include <iostream>
#include <nlohmann/json.hpp>

#include "ctl/Client.h"
#include "ctl/Monitor.h"
#include "ctl/Options.h"
#include "ctl/Table.h"

namespace {

using namespace Control;

enum ExitCode { done = 0, failed = 1, badUsage = 2 };

void print(const Options &options, const Rows &rows) {
  if (options.json) {
    std::cout << rows.dump(2) << '\n';
  } else {
    std::cout << toTable(rows, options.noun);
  }
  std::cout << std::flush;
}

void watchNoun(const Options &options) {
  const bool isScreen = ::isatty(STDOUT_FILENO) != 0 && !options.json;
  const auto redraw = [&] {
    const Rows rows = ask(options.socket, options.program, options.request);
    if (isScreen) std::cout << "\033[H\033[2J";
    print(options, rows);
  };
  watch(options, isScreen, redraw, std::cerr);
}

int run(const std::vector<std::string> &arguments) {
  const Options options = optionsFrom(arguments);
  switch (options.action) {
    case Options::Action::version: std::cout << "pimbsrctl " << PIMBSR_VERSION << '\n'; break;
    case Options::Action::help: std::cout << (options.noun ? helpText(*options.noun) : usage()); break;
    case Options::Action::watch: watchNoun(options); break;
    case Options::Action::monitor: monitor(options, std::cout, std::cerr); break;
    case Options::Action::ask: print(options, ask(options.socket, options.program, options.request)); break;
  }
  return std::cout ? done : failed;
}

}  // namespace

int main(int count, char **arguments) {
  try {
    return run({arguments + 1, arguments + count});
  } catch (const UsageError &error) {
    std::cerr << "pimbsrctl: " << error.what() << "\nTry 'pimbsrctl --help'.\n";
    return badUsage;
  } catch (const std::exception &error) {
    std::cerr << "pimbsrctl: " << error.what() << '\n';
    return failed;
  }
}
