#include <sstream>

#include "plan/CommandLine.h"
#include "plan/Pictures.h"

namespace Planning {

namespace po = boost::program_options;

namespace {

// "0,3,12"
std::set<size_t> numbersFrom(const std::string &text) {
  std::set<size_t> numbers;
  std::istringstream words(text);
  for (std::string word; std::getline(words, word, ',');) {
    if (word.empty() || word.size() > 9 || word.find_first_not_of("0123456789") != std::string::npos) {
      throw UsageError("--events: \"" + word + "\" is no number of an event");
    }
    numbers.insert(std::stoul(word));
  }
  if (numbers.empty()) throw UsageError("--events: which?");
  return numbers;
}

CommandLine lineOfDraw() {
  CommandLine line(
      "Usage: pimbsr-sim draw FILE DIR [OPTION]...\n\n"
      "Plays a plan and draws into DIR the network before its first event and after each, just before the next or\n"
      "at the end, and the time line. Prints the files.\n");
  line.needs("file", "which plan?");
  line.needs("folder", "into which folder?");
  auto add = line.options();
  add("seed", po::value<uint64_t>()->value_name("N"), "of everything that is random; by default the plan's");
  add("format", po::value<std::string>()->value_name("svg|dot")->default_value("svg"),
      "dot: write the network for Graphviz only");
  add("events", po::value<std::string>()->value_name("N,..."),
      "draw the network only after these, 0 for before the first");
  return line;
}

}  // namespace

int drawPlan(const Arguments &arguments, std::ostream &out, std::ostream &err) {
  const auto values = lineOfDraw().valuesOf(arguments, out);
  if (!values) return done;
  const CommandLine::Values &given = *values;
  const auto format = given["format"].as<std::string>();
  if (format != "svg" && format != "dot") throw UsageError("--format: svg or dot, not \"" + format + "\"");
  Pictures::Options picturing{given["folder"].as<std::string>(), format == "svg"};
  if (given.count("events") > 0) picturing.moments = numbersFrom(given["events"].as<std::string>());
  const Plan plan = planOf(given["file"].as<std::string>(), err);
  const size_t last = momentsOf(plan).size();
  if (!picturing.moments.empty() && *picturing.moments.rbegin() > last) {
    throw UsageError("--events: there is no event " + std::to_string(*picturing.moments.rbegin()) + "; the last is " +
                     std::to_string(last));
  }
  const uint64_t seed = seedIn(given).value_or(plan.seed);
  Simulation simulation(plan, seed);
  Pictures pictures(simulation, seed, std::move(picturing), out, err);
  simulation.runTo(plan.duration);
  pictures.finish();
  return done;
}

}  // namespace Planning
