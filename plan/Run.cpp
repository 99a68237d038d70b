#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "plan/CommandLine.h"
#include "plan/Pictures.h"
#include "plan/RunJson.h"
#include "plan/RunText.h"
#include "plan/TimeLine.h"

namespace Planning {

namespace po = boost::program_options;

namespace {

struct RunOptions {
  std::optional<uint64_t> seed;
  bool json = false;
  Routing::Pim::Bsr::Severity severity = Routing::Pim::Bsr::Severity::notice;
  std::optional<double> until;
  std::vector<std::string> questions;
  std::string pictures;  // a folder; empty: none are drawn
  bool progress = false;
};

CommandLine lineOfRun() {
  CommandLine line(
      "Usage: pimbsr-sim run FILE [OPTION]...\n\n"
      "Plays a plan. Tells what happens as it happens, then how long routers were without BSR or RPs, or disagreed,\n"
      "after each event, and which expectations held. Exit status: 0 all of them, 1 not all, or something failed,\n"
      "2 the command line or the plan is wrong.\n");
  line.needs("file", "which plan?");
  auto add = line.options();
  add("seed", po::value<uint64_t>()->value_name("N"), "of everything random, instead of the plan's");
  add("json", "print JSON lines, which docs/plans.md describes");
  add("severity", po::value<std::string>()->value_name("WORD")->default_value("notice"),
      "print events of this severity and worse");
  add("until", po::value<double>()->value_name("SECONDS"), "end then, instead of when the plan says");
  add("ask", po::value<std::vector<std::string>>()->value_name("QUESTION"),
      "\"r7 explain group 239.1.1.1 at 120\", \"r7/blue show bsr\": what pimbsrctl would say there, at a time or in "
      "the end; may be given several times. Not of agent, vrf, config, state and log");
  add("pictures", po::value<std::string>()->value_name("DIR"),
      "draw the network and the time line there, as \"draw\" does");
  add("progress", "say on standard error how far it is, even if that is no terminal");
  return line;
}

RunOptions runOptionsFrom(const CommandLine::Values &given) {
  RunOptions options;
  options.seed = seedIn(given);
  options.json = given.count("json") > 0;
  try {
    options.severity = Routing::Pim::Bsr::severityFrom(given["severity"].as<std::string>());
  } catch (const std::invalid_argument &error) {
    throw UsageError(error.what());
  }
  if (given.count("until") > 0) options.until = given["until"].as<double>();
  if (options.until && !(*options.until > 0 && *options.until <= 1e8))
    throw UsageError("--until needs seconds, up to 100000000");
  if (given.count("ask") > 0) options.questions = given["ask"].as<std::vector<std::string>>();
  if (given.count("pictures") > 0) options.pictures = given["pictures"].as<std::string>();
  options.progress = given.count("progress") > 0;
  return options;
}

// What is expected later is not looked at, which is said.
void endAt(double end, Plan &plan, std::ostream &err) {
  plan.duration = end;
  std::erase_if(plan.story, [&](const Action &action) { return action.at > end; });
  std::erase_if(plan.expectations, [&](Expectation &expectation) {
    const bool isAtOnce = expectation.kind < Expectation::Kind::agree;
    const bool isLater = isAtOnce ? expectation.at > end : expectation.from >= end;
    const bool isCut = !isLater && !isAtOnce && expectation.to > end;
    if (isLater) err << "pimbsr-sim: the run ends before this is expected: " << expectation.text << '\n';
    if (isCut) err << "pimbsr-sim: the run ends while this is expected: " << expectation.text << '\n';
    expectation.to = std::min(expectation.to, end);
    if (isCut) expectation.text.append(", of which this run has seen what is until ").append(exactSeconds(end)) += " s";
    return isLater;
  });
}

// Whether somebody looks at standard error and not at standard output, where the time line says how far it is.
bool isWatched(const std::ostream &out, const std::ostream &err) {
  return &out == &std::cout && &err == &std::cerr && isatty(STDERR_FILENO) && !isatty(STDOUT_FILENO);
}

// In steps, to say each second of real time how far it is.
void play(Simulation &simulation, bool tells, std::ostream &err) {
  const double end = simulation.plan().duration;
  if (!tells) return simulation.runTo(end);
  constexpr int steps = 5000;
  auto told = std::chrono::steady_clock::now();
  for (int step = 1; step <= steps; ++step) {
    simulation.runTo(step < steps ? end * step / steps : end);
    const auto now = std::chrono::steady_clock::now();
    if (now - told < std::chrono::seconds(1)) continue;
    told = now;
    err << "pimbsr-sim: " << briefSeconds(simulation.now()) << " of " << briefSeconds(end) << " s\n" << std::flush;
  }
}

int run(Plan &plan, const RunOptions &options, std::ostream &out, std::ostream &err) {
  if (options.until) endAt(*options.until, plan, err);
  const uint64_t seed = options.seed.value_or(plan.seed);
  Simulation simulation(plan, seed);
  std::vector<Question> questions;
  for (const std::string &text : options.questions) questions.push_back(questionFrom(text, simulation));
  std::unique_ptr<RunWriter> writer;
  options.json ? void(writer = std::make_unique<RunJson>(plan, out))
               : void(writer = std::make_unique<RunText>(plan, out));
  Account account(simulation);
  const Judge judge(simulation, account);
  const TimeLine timeLine(simulation, account, *writer, options.severity, questions);
  std::ostream nobody(nullptr);
  std::optional<Pictures> pictures;
  if (!options.pictures.empty()) pictures.emplace(simulation, seed, Pictures::Options{options.pictures}, nobody, err);
  play(simulation, options.progress || isWatched(out, err), err);
  if (pictures) pictures->finish();
  const Outcome outcome = outcomeOf(seed, simulation, account, judge);
  writer->writeOutcome(plan, outcome);
  return outcome.holds() ? done : failed;
}

}  // namespace

int runPlan(const Arguments &arguments, std::ostream &out, std::ostream &err) {
  const auto given = lineOfRun().valuesOf(arguments, out);
  if (!given) return done;
  const RunOptions chosen = runOptionsFrom(*given);
  Plan plan = planOf((*given)["file"].as<std::string>(), err);
  return run(plan, chosen, out, err);
}

}  // namespace Planning
