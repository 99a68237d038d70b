// Clients of a control socket: a crowd that behaves badly, or one that asks all the time.
#include <boost/program_options.hpp>
#include <cmath>
#include <csignal>
#include <iostream>
#include <optional>
#include <thread>

#include "lab/Crowd.h"
#include "lab/ToolMain.h"

namespace {

using namespace Lab;
namespace options = boost::program_options;

struct Arguments {
  std::string socket;
  std::string behavior;
  std::string question;
  std::string expected;
  double seconds = 0;
  size_t count = 0;
};

volatile std::sig_atomic_t stopped = 0;

const char *const description =
    "Connects to the control socket of an agent and behaves as it is told:\n"
    "  idle   says nothing\n"
    "  half   says half a request\n"
    "  huge   says a mebibyte without an end of line\n"
    "  garbage  says lines that are no UTF-8\n"
    "  deep   says a line of 60,000 brackets\n"
    "  deaf   subscribes and reads nothing\n"
    "  slow   asks the question and reads the answer a few bytes at a time\n"
    "  ask    asks the question ten times a second, until it is stopped, and prints how many were asked, answered\n"
    "         without the expected text, and not answered, and the longest time to an answer in milliseconds\n"
    "  knock  the same, each on a connection of its own\n"
    "The others keep --count clients connected for --seconds, and print how many came, were refused with an error\n"
    "line, and were dropped.\n\nOptions";

// Throws options::error; no value when only help was asked for.
std::optional<Arguments> parse(int count, char **words) {
  Arguments arguments;
  options::options_description known(description, 100);
  auto add = known.add_options();
  add("help", "print this help");
  add("socket", options::value(&arguments.socket)->required(), "the control socket");
  add("behavior", options::value(&arguments.behavior)->required(), "see above");
  add("question", options::value(&arguments.question)->default_value(R"({"verb":"show","noun":"agent"})"),
      "a request line");
  add("expected", options::value(&arguments.expected)->default_value(""), "what each answer must contain");
  add("seconds", options::value(&arguments.seconds)->default_value(10), "how long");
  add("count", options::value(&arguments.count)->default_value(1000), "clients at a time");

  options::variables_map given;
  options::store(options::parse_command_line(count, words, known), given);
  if (given.contains("help")) {
    std::cout << known;
    return {};
  }
  options::notify(given);
  return arguments;
}

void ask(const Arguments &arguments) {
  constexpr std::chrono::milliseconds interval{100};
  std::signal(SIGTERM, [](int) { stopped = 1; });
  Prober prober(arguments.socket, arguments.question, arguments.expected, arguments.behavior == "knock");
  while (!stopped) {
    prober.ask();
    std::this_thread::sleep_for(interval);
  }
  const Prober::Counts &counts = prober.counts();
  std::cout << counts.asked << ' ' << counts.wrong << ' ' << counts.unanswered << ' '
            << std::lround(counts.longest * 1000) << std::endl;
}

void crowd(const Arguments &arguments, const Behavior &behavior) {
  const Crowd::Counts counts = Crowd(arguments.socket, behavior, arguments.count).stay(arguments.seconds);
  std::cout << counts.connected << ' ' << counts.refused << ' ' << counts.dropped << std::endl;
}

void run(const Arguments &arguments) {
  constexpr size_t everything = -1, few = 64;
  if (arguments.behavior == "ask" || arguments.behavior == "knock") return ask(arguments);
  if (arguments.behavior == "idle") return crowd(arguments, {"", everything});
  if (arguments.behavior == "half") return crowd(arguments, {R"({"verb":"show","noun":)", everything});
  if (arguments.behavior == "huge") return crowd(arguments, {std::string(1 << 20, 'x'), everything});
  if (arguments.behavior == "garbage") return crowd(arguments, {"\xff{\"verb\":\"\xc3\x28\"}\n\xfe\n", everything});
  if (arguments.behavior == "deep") return crowd(arguments, {std::string(60000, '[') + '\n', everything});
  if (arguments.behavior == "deaf") {
    return crowd(arguments, {R"({"verb":"subscribe","noun":"events rp-set bsr neighbors"})"
                             "\n",
                             0});
  }
  if (arguments.behavior == "slow") return crowd(arguments, {arguments.question + '\n', few});
  throw options::error("there is no behavior '" + arguments.behavior + "'");
}

}  // namespace

int main(int count, char **words) { return Lab::toolMain("clients", count, words, parse, run); }
