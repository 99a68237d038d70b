#include "plan/Naming.h"
#include "plan/PlanFile.h"
#include "plan/Program.h"

namespace Planning {

namespace po = boost::program_options;

int checkPlan(const Arguments &arguments, std::ostream &out, std::ostream &err) {
  po::options_description options("Options");
  options.add_options()("help", "print this")("file", po::value<std::string>(), "the plan");
  const auto given = optionsFrom(arguments, options, po::positional_options_description().add("file", 1));
  if (given.count("help") > 0) {
    out << "Usage: pimbsr-sim check FILE\n\nSays what is wrong with a plan: exit status 0 nothing, 2 something.\n";
    return done;
  }
  if (given.count("file") == 0) throw UsageError("which plan?");
  const Plan plan = planOf(given["file"].as<std::string>(), err);
  out << counted(plan.routers.size(), "router") << ", " << counted(plan.links.size(), "link") << ", "
      << counted(plan.story.size(), "event") << ", " << counted(plan.expectations.size(), "expectation") << ", "
      << plan.duration << " s\n";
  return done;
}

int printSchema(const Arguments &arguments, std::ostream &out, std::ostream &) {
  if (!arguments.empty()) throw UsageError("schema has no options and no arguments");
  out << planSchemaText();
  return done;
}

}  // namespace Planning
