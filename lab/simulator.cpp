// Simulated routers on virtual time, IPv4 and IPv6, from two plans (docs/plans.md) whose agents are off at first. Reads
// commands, one on each line, and carries them out; lab/run-lab uses it in place of namespaces and pimbsrctl.
//
// Usage: simulator PLAN PLAN
//
//   FAMILY start NAME
//   FAMILY kill NAME                 as SIGKILL does; the router goes on forwarding
//   FAMILY run SECONDS
//   FAMILY now                       prints the milliseconds that have passed
//   FAMILY show NAME NOUN [ARGUMENT]       prints the line that "pimbsrctl --json show NOUN" prints
//   FAMILY explain NAME TOPIC [ARGUMENT]   likewise
//
// Exit 0 at the end of its input, 1 with the reason at a command that it cannot carry out.
#include <algorithm>
#include <cmath>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "plan/PlanFile.h"
#include "plan/Simulation.h"

namespace {

using Planning::Plan;
using Planning::Verb;

Plan planFrom(const std::string &file) {
  Planning::LoadedPlan loaded = Planning::planFromFile(file);
  if (!loaded.good()) throw std::invalid_argument(toText(file, loaded.findings.errors.front()));
  return std::move(loaded.plan);
}

class Session {
 public:
  explicit Session(const std::string &file) : plan_(planFrom(file)), simulation_(plan_, plan_.seed) {}

  void act(const std::string &verb, std::istream &arguments) {
    double seconds = 0;
    std::string name, what, argument;
    if (verb == "run" && arguments >> seconds) {
      simulation_.runTo(simulation_.now() + seconds);
    } else if (verb == "now") {
      std::cout << std::llround(simulation_.now() * 1000) << std::endl;
    } else if ((verb == "kill" || verb == "start") && arguments >> name) {
      simulation_.act({.verb = verb == "kill" ? Verb::crash : Verb::start, .router = place(name)});
    } else if ((verb == "show" || verb == "explain") && arguments >> name >> what) {
      arguments >> argument;
      Planning::Box &box = simulation_.box(place(name));
      std::cout << (verb == "show" ? box.shown(what, argument) : box.explained(what, argument)) << std::endl;
    } else {
      throw std::invalid_argument("cannot understand it");
    }
  }

 private:
  size_t place(const std::string &name) const {
    const auto found = std::find_if(plan_.routers.begin(), plan_.routers.end(),
                                    [&](const Planning::Router &router) { return router.name == name; });
    if (found == plan_.routers.end()) throw std::invalid_argument("there is no router " + name);
    return static_cast<size_t>(found - plan_.routers.begin());
  }

  const Plan plan_;
  Planning::Simulation simulation_;
};

}  // namespace

int main(int argc, char **argv) {
  std::string line = argc > 2 ? argv[1] : "needs two plans";
  try {
    if (argc != 3) throw std::invalid_argument("see lab/simulator.cpp");
    Session ipv4(argv[1]), ipv6(argv[2]);
    while (std::getline(std::cin, line)) {
      std::istringstream words(line);
      std::string family, verb;
      words >> family >> verb;
      if (family != "4" && family != "6") throw std::invalid_argument("the family must be 4 or 6");
      (family == "4" ? ipv4 : ipv6).act(verb, words);
    }
    return 0;
  } catch (const std::exception &error) {
    std::cerr << "simulator: " << line << ": " << error.what() << std::endl;
    return 1;
  }
}
