// pimbsrctl: asks a running agent. Exit codes: 0 done, 1 failed or refused, 2 bad usage.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <set>
#include <thread>

#include "ctl/Client.h"
#include "ctl/Monitor.h"
#include "ctl/Options.h"
#include "ctl/Reference.h"
#include "daemon/control/Table.h"

namespace {

using namespace Control;

enum ExitCode { done = 0, failed = 1, badUsage = 2 };

void print(const Options &options, const Rows &rows) {
  if (options.json) {
    std::cout << rows.dump(2) << '\n';
  } else {
    std::cout << toTable(rows, options.noun, options.table);
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

// What only the agent knows, for completion: each word once.
void printWords(const Options &options) {
  std::set<std::string> words;
  for (const Rows &row : ask(options.socket, options.program, options.request)) {
    const Rows word = row.value(options.completed->column, Rows());
    if (word.is_string() && words.insert(word.get<std::string>()).second) std::cout << word.get<std::string>() << '\n';
  }
}

// Of two looks at the same log, the second has begun where it has the last lines of the first in common.
size_t newFrom(const Rows &before, const Rows &now) {
  for (size_t gone = 0; gone < before.size(); ++gone) {
    const size_t common = before.size() - gone;
    if (common <= now.size() && std::equal(before.end() - static_cast<long>(common), before.end(), now.begin()))
      return common;
  }
  return 0;
}

void followLog(const Options &options) {
  Rows before = Rows::array();
  for (;; std::this_thread::sleep_for(std::chrono::duration<double>(options.interval))) {
    Rows now = ask(options.socket, options.program, options.request);
    Rows added = Rows::array();
    for (size_t i = newFrom(before, now); i < now.size(); ++i) added.push_back(now[i]);
    if (!added.empty()) print(options, added);
    if (!std::cout) return;
    before = std::move(now);
  }
}

void printMade(const Options &options) {
  options.completed ? printWords(options) : void(std::cout << printed(options.request.argument));
}

int run(const std::vector<std::string> &arguments) {
  const Options options = optionsFrom(arguments);
  switch (options.action) {
    case Options::Action::version: std::cout << "pimbsrctl " << PIMBSR_VERSION << '\n'; break;
    case Options::Action::help: std::cout << options.help; break;
    case Options::Action::watch: watchNoun(options); break;
    case Options::Action::follow: followLog(options); break;
    case Options::Action::print: printMade(options); break;
    case Options::Action::monitor: monitor(options, std::cout, std::cerr); break;
    case Options::Action::ask: print(options, ask(options.socket, options.program, options.request)); break;
  }
  if (!std::cout.flush()) throw std::runtime_error("what it printed could not be written");
  return done;
}

}  // namespace

int main(int count, char **arguments) {
  try {
    return run({arguments + 1, arguments + count});
  } catch (const UsageError &error) {
    std::cerr << "pimbsrctl: " << error.what() << "\nTry 'pimbsrctl --help'.\n";
    return badUsage;
  } catch (const AgentError &error) {
    std::cerr << "pimbsrctl: " << error.what() << '\n';
    return error.kind == ErrorKind::badRequest ? badUsage : failed;
  } catch (const std::exception &error) {
    std::cerr << "pimbsrctl: " << error.what() << '\n';
    return failed;
  }
}
