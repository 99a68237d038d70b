#include "plan/Program.h"

#include <algorithm>
#include <array>

#include "daemon/EventLines.h"
#include "plan/InputFault.h"
#include "plan/PlanFile.h"

namespace Planning {

namespace {

constexpr std::array verbs{
    ProgramVerb{"check", "FILE", "says what is wrong with a plan", checkPlan},
    ProgramVerb{"run", "FILE [OPTION]...", "plays a plan and tells what happens", runPlan},
    ProgramVerb{"draw", "FILE DIR [OPTION]...", "draws the network and the time line of a plan into a folder",
                drawPlan},
    ProgramVerb{"generate", "ring|grid|tree|fat-tree|random ...", "writes a plan to begin with", generatePlan},
    ProgramVerb{"import", "FOLDER...|FILE...", "writes the plan of a running network", importPlan},
    ProgramVerb{"sweep", "FILE [OPTION]...", "lets every link, router and pair of links fail in turn", sweepPlan},
    ProgramVerb{"merge", "RESULTS... [--json]", "puts the results of single runs of a sweep together", mergeResults},
    ProgramVerb{"schema", "", "prints the JSON Schema of plans", printSchema},
};

void printUsage(std::ostream &out) {
  out << "Usage: pimbsr-sim VERB [OPTION]... [ARGUMENT]...\n\n"
         "Plays what happens in a network of PIM routers: who becomes BSR, which RPs are known where,\n"
         "and for how long routers are without them when something fails. A plan is a JSON file.\n\n";
  for (const ProgramVerb &verb : verbs) {
    std::string usage = std::string("  ") + verb.name + " " + verb.synopsis;
    if (usage.size() < 26) usage.resize(26, ' ');
    out << usage << ' ' << verb.help << '\n';
  }
  out << "\n'pimbsr-sim VERB --help' has the options of a verb. Exit status: 0 done, 1 an expectation does\n"
         "not hold, or something failed, such as the writing of a file, 2 the command line, the plan or other\n"
         "input is wrong.\n";
}

// The exit status, when all is written that was said.
int ended(int status, std::ostream &out, std::ostream &err) {
  if (out.flush() || status == refused) return status;
  err << "pimbsr-sim: the output cannot be written\n";
  return failed;
}

// What it says may be out of a foreign file.
std::string printable(const std::exception &error) { return Routing::Pim::Bsr::EventLines::printable(error.what()); }

}  // namespace

void tellFindings(const char *kind, const std::vector<Routing::Pim::Bsr::Finding> &findings, const std::string &file,
                  std::ostream &err) {
  for (const std::string &line : Routing::Pim::Bsr::firstOf(findings, file)) {
    err << kind << Routing::Pim::Bsr::EventLines::printable(line) << '\n';
  }
}

Plan planOf(const std::string &file, std::ostream &err) {
  const auto fromInput = [] { return planFromText(std::string(std::istreambuf_iterator<char>(std::cin), {}), ""); };
  LoadedPlan loaded = file == "-" ? fromInput() : planFromFile(file);
  tellFindings("error: ", loaded.findings.errors, file, err);
  tellFindings("warning: ", loaded.findings.warnings, file, err);
  if (!loaded.good()) throw PlanRefused();
  return std::move(loaded.plan);
}

int program(const Arguments &arguments, std::ostream &out, std::ostream &err) {
  if (arguments.empty() || arguments.front() == "--help" || arguments.front() == "help") {
    printUsage(arguments.empty() ? err : out);
    return ended(arguments.empty() ? refused : done, out, err);
  }
  if (arguments.front() == "--version") {
    out << "pimbsr-sim " << PIMBSR_VERSION << '\n';
    return ended(done, out, err);
  }
  const auto verb =
      std::find_if(verbs.begin(), verbs.end(), [&](const ProgramVerb &each) { return each.name == arguments.front(); });
  if (verb == verbs.end()) {
    err << "pimbsr-sim: there is no verb \"" << arguments.front() << "\"; 'pimbsr-sim --help' has all of them\n";
    return refused;
  }
  try {
    return ended(verb->run({arguments.begin() + 1, arguments.end()}, out, err), out, err);
  } catch (const UsageError &error) {
    err << "pimbsr-sim: " << printable(error) << "\nUsage: pimbsr-sim " << verb->name << (*verb->synopsis ? " " : "")
        << verb->synopsis << '\n';
    return refused;
  } catch (const PlanRefused &) {
    return refused;
  } catch (const InputFault &fault) {
    err << "error: " << printable(fault) << '\n';
    return refused;
  } catch (const std::exception &error) {
    err << "pimbsr-sim: " << printable(error) << '\n';
    return failed;
  }
}

}  // namespace Planning
