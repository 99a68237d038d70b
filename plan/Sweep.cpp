#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <thread>

#include "daemon/file/Findings.h"
#include "plan/CommandLine.h"
#include "plan/Naming.h"
#include "plan/ResultFile.h"
#include "plan/SweepRun.h"
#include "plan/Tally.h"
#include "plan/Workers.h"

namespace Planning {

namespace po = boost::program_options;

namespace {

constexpr double secondsMost = 1e8;

CommandLine lineOfSweep() {
  CommandLine line(
      "Usage: pimbsr-sim sweep FILE [OPTION]...\n\n"
      "Lets every link, every router and every pair of links fail in turn, and tells what the network cannot lose,\n"
      "what is worst of the rest, and how often what is expected holds. Exit status 1: it did not always hold.\n");
  line.needs("file", "which plan?");
  line.options()("seeds", po::value<size_t>()->value_name("N")->default_value(1),
                 "all of it with so many seeds, from the plan's")  //
      ("at", po::value<double>()->value_name("SECONDS"),
       "when things fail; by default 60 s after all routers have come to agree, or with the next event if that is "
       "sooner. The story is played until then")  //
      ("for", po::value<double>()->value_name("SECONDS"),
       "how long a run goes on after that; by default, and at least, twice the longest hold time and 300 s")    //
      ("pairs", "pairs of links, too (the default)")("no-pairs", "no pairs of links")                           //
      ("jobs", po::value<size_t>()->value_name("N"), "processes at a time; by default one for each processor")  //
      ("results", po::value<std::string>()->value_name("FILE"),
       "keep the result of each run there, a line each, and go on from those that are there")    //
      ("list", "only print a command line for each run, which prints its result")                //
      ("run", po::value<size_t>()->value_name("NUMBER"), "only this run, and print its result")  //
      ("json", "print JSON");
  return line;
}

double secondsOf(const CommandLine::Values &given, const char *name) {
  const double seconds = given[name].as<double>();
  if (!(seconds >= 0 && seconds <= secondsMost)) throw UsageError("--" + std::string(name) + " is no time in seconds");
  return seconds;
}

Cases::Setting settingOf(const Plan &plan, const CommandLine::Values &given) {
  Cases::Setting setting;
  if (given.count("pairs") > 0 && given.count("no-pairs") > 0) throw UsageError("--pairs goes not with --no-pairs");
  setting.pairs = given.count("no-pairs") == 0;
  setting.lasts = timeToRecover(plan);
  if (given.count("for") > 0) {
    const double lasts = secondsOf(given, "for");
    if (lasts < setting.lasts) {
      throw UsageError(std::string("--for ") + briefSeconds(lasts) +
                       " is too short to tell what can be lost: routers hold for a while what is lost. It takes " +
                       briefSeconds(setting.lasts) + " s");
    }
    setting.lasts = lasts;
  }
  if (given.count("at") > 0) {
    setting.at = secondsOf(given, "at");
  } else if (const auto settled = settledTime(plan)) {
    setting.at = *settled;
  } else {
    throw UsageError("the routers of this plan never agree; say --at what time things fail");
  }
  return setting;
}

// For a shell.
std::string quoted(const std::string &text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
    } else {
      result += c;
    }
  }
  return result + "'";
}

class Sweep {
 public:
  Sweep(const std::string &file, const Plan &plan, const CommandLine::Values &given)
      : file_(file), given_(given), cases_(plan, settingOf(plan, given)), seeds_(given["seeds"].as<size_t>()) {
    if (seeds_ == 0 || seeds_ > runsMost / cases_.perSeed()) {
      throw UsageError("such a sweep has no runs, or more than " + std::to_string(runsMost));
    }
    if (seeds_ - 1 > UINT32_MAX - plan.seed) {
      throw UsageError(std::string("from the plan's seed ") + std::to_string(plan.seed) + " on there " +
                       (UINT32_MAX == plan.seed ? "is only " : "are only ") +
                       counted(UINT32_MAX - plan.seed + 1, "seed") + ", up to 4294967295");
    }
    digest_ = digestOf(cases_);
  }

  size_t size() const { return cases_.perSeed() * seeds_; }
  void tellNotes(std::ostream &err) const;
  void list(std::ostream &out) const;
  int playOne(size_t run, std::ostream &out) const;
  int playAll(std::ostream &out, std::ostream &err);

 private:
  std::string lineOf(size_t run) const { return Planning::lineOf(sweepRunOf(cases_, digest_, run, seeds_)); }
  void takeKnown(const std::string &line);
  std::vector<size_t> missing() const;
  bool play(const std::vector<size_t> &runs, std::ostream &err);

  const std::string file_;
  const CommandLine::Values &given_;
  const Cases cases_;
  const size_t seeds_;
  std::string digest_;
  Tally tally_;
  std::optional<ResultFile> results_;
};

void Sweep::tellNotes(std::ostream &err) const {
  const double end = cases_.setting().at + cases_.setting().lasts;
  if (cases_.base().duration > end) {
    err << "note: the end is at " << briefSeconds(cases_.base().duration) << " s and not at " << briefSeconds(end)
        << " s, since something is expected until then\n";
  }
  if (cases_.eventsLeftOut() == 0) return;
  const Plan &plan = cases_.plan();
  err << "note: what comes after " << briefSeconds(cases_.setting().at) << " s is left out: " << cases_.eventsLeftOut()
      << " of " << counted(plan.story.size(), "event") << ", and what is expected then, "
      << cases_.expectationsLeftOut() << " of " << counted(plan.expectations.size(), "expectation") << '\n';
}

void Sweep::list(std::ostream &out) const {
  std::ostringstream common;
  common.precision(17);
  common << "pimbsr-sim sweep " << quoted(file_) << " --seeds " << seeds_ << " --at " << cases_.setting().at
         << " --for " << cases_.setting().lasts << (cases_.setting().pairs ? "" : " --no-pairs") << " --run ";
  for (size_t run = 0; run < size(); ++run) out << common.str() << run << '\n';
}

int Sweep::playOne(size_t run, std::ostream &out) const {
  if (run >= size()) throw UsageError("the runs are 0 to " + std::to_string(size() - 1));
  out << lineOf(run) << '\n';
  return done;
}

// Of a sweep with other seeds all is as it would be here, but what the first line says of it.
void Sweep::takeKnown(const std::string &line) {
  const SweepRun run = sweepRunFrom(line);
  if (run.plan != digest_) throw std::invalid_argument("is of another plan, or of another setting of the sweep");
  if (run.run >= size()) throw std::invalid_argument("is of a sweep with more seeds");
  if (!run.head || *run.head == headOf(cases_, seeds_)) tally_.add(run);
}

std::vector<size_t> Sweep::missing() const {
  std::vector<size_t> runs;
  for (size_t run = 0; run < size(); ++run) {
    if (!tally_.has(run)) runs.push_back(run);
  }
  return runs;
}

bool Sweep::play(const std::vector<size_t> &runs, std::ostream &err) {
  const bool isWatched = &err == &std::cerr && ::isatty(STDERR_FILENO) == 1;
  size_t played = size() - runs.size();
  bool good = true;
  const auto take = [&](size_t, const std::string &line) {
    tally_.add(sweepRunFrom(line));
    if (results_) results_->add(line);
    ++played;
    if (isWatched && (played % 10 == 0 || played == size())) {
      err << '\r' << played << " of " << size() << " runs" << (played == size() ? "\n" : "") << std::flush;
    }
  };
  const auto lost = [&](size_t run, const std::string &reason, bool givenUp) {
    const std::string what = Routing::Pim::Bsr::joined(cases_.failing(run), " and ");
    err << "error: run " << run << " (" << (what.empty() ? "nothing" : what) << " fails, seed " << cases_.seedOf(run)
        << "): " << reason << (givenUp ? "; given up\n" : "; it is tried again\n");
    good = good && !givenUp;
  };
  const size_t jobs =
      given_.count("jobs") > 0 ? given_["jobs"].as<size_t>() : std::max<size_t>(1, std::thread::hardware_concurrency());
  Workers(jobs, {[&](size_t run) { return lineOf(run); }, take, lost}).run(runs);
  return good;
}

int Sweep::playAll(std::ostream &out, std::ostream &err) {
  if (given_.count("results") > 0) {
    results_.emplace(given_["results"].as<std::string>(), [&](const std::string &line) { takeKnown(line); });
  }
  const bool good = play(missing(), err);
  if (results_) {
    const SweepHead head = headOf(cases_, seeds_);
    results_->sort([&](const std::string &line) -> std::optional<size_t> {
      const SweepRun run = sweepRunFrom(line);
      return !run.head || *run.head == head ? std::optional(run.run) : std::nullopt;
    });
  }
  const SweepReport report = tally_.report();
  out << (given_.count("json") > 0 ? toJsonText(report) : toText(report));
  return good && report.isGood() ? done : failed;
}

// Before anything is played.
void refuseOddOnes(const CommandLine::Values &given) {
  const size_t single = given.count("run") + given.count("list");
  if (single > 1) throw UsageError("--run goes not with --list");
  if (single > 0 && given.count("results") > 0) {
    throw UsageError("--results goes not with --run or --list, which print to standard output");
  }
  if (given.count("list") > 0 && given["file"].as<std::string>() == "-") {
    throw UsageError("--list needs a file: its command lines could not read standard input once more");
  }
  if (given.count("jobs") == 0) return;
  const auto jobs = given["jobs"].as<size_t>();
  if (jobs == 0 || jobs > 1024) throw UsageError("--jobs is 1 to 1024");
}

}  // namespace

int sweepPlan(const Arguments &arguments, std::ostream &out, std::ostream &err) {
  const auto values = lineOfSweep().valuesOf(arguments, out);
  if (!values) return done;
  const CommandLine::Values &given = *values;
  refuseOddOnes(given);
  const std::string file = given["file"].as<std::string>();
  const Plan plan = planOf(file, err);
  Sweep sweep(file, plan, given);
  if (given.count("run") > 0) return sweep.playOne(given["run"].as<size_t>(), out);
  sweep.tellNotes(err);
  if (given.count("list") == 0) return sweep.playAll(out, err);
  sweep.list(out);
  return done;
}

int mergeResults(const Arguments &arguments, std::ostream &out, std::ostream &err) {
  CommandLine line(
      "Usage: pimbsr-sim merge RESULTS... [--json]\n\n"
      "Puts results of single runs together, as the command lines of \"sweep --list\" print them, in any order and\n"
      "any number of files (\"-\": standard input), and prints what the sweep would have printed.\n");
  line.needsSome("results", "which results?");
  line.options()("json", "print JSON");
  const auto values = line.valuesOf(arguments, out);
  if (!values) return done;
  const CommandLine::Values &given = *values;
  Tally tally;
  for (const std::string &file : given["results"].as<std::vector<std::string>>()) {
    readResults(file, [&](const std::string &line) { tally.add(sweepRunFrom(line)); });
  }
  const SweepReport report = tally.report();
  if (report.head && tally.end() > report.head->runs()) {
    throw InputFault("there is a result of run " + std::to_string(tally.end() - 1) +
                     ", but that of run 0 is of a sweep with " + counted(report.head->runs(), "run") +
                     "; give that of the sweep with more seeds");
  }
  if (!report.head) err << "error: the result of run 0 is missing, which says how many runs there are\n";
  out << (given.count("json") > 0 ? toJsonText(report) : toText(report));
  return report.isGood() ? done : failed;
}

}  // namespace Planning
