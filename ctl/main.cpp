// pimbsrctl: asks a running agent. Exit codes: 0 done, 1 failed, 2 bad usage.
#include <unistd.h>

#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <thread>

#include "ctl/Client.h"
#include "ctl/Options.h"
#include "ctl/Table.h"

namespace {

using namespace Control;

enum ExitCode { done = 0, failed = 1, badUsage = 2 };

void askOnce(const Options &options) {
  const Rows rows = ask(options.socket, options.program, options.request);
  if (options.json) {
    std::cout << rows.dump(2) << '\n';
  } else {
    std::cout << toTable(rows, options.noun);
  }
  std::cout << std::flush;
}

void watch(const Options &options) {
  const bool isScreen = ::isatty(STDOUT_FILENO) != 0 && !options.json;
  while (std::cout) {
    if (isScreen) std::cout << "\033[H\033[2J";
    askOnce(options);
    std::this_thread::sleep_for(std::chrono::seconds(1));
  }
}

int run(const std::vector<std::string> &arguments) {
  const Options options = optionsFrom(arguments);
  switch (options.action) {
    case Options::Action::version: std::cout << "pimbsrctl " << PIMBSR_VERSION << '\n'; break;
    case Options::Action::help: std::cout << (options.noun ? helpText(*options.noun) : usage()); break;
    case Options::Action::watch: watch(options); break;
    case Options::Action::ask: askOnce(options); break;
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
