#include "plan/CommandLine.h"
#include "plan/Naming.h"
#include "plan/PlanFile.h"

namespace Planning {

int checkPlan(const Arguments &arguments, std::ostream &out, std::ostream &err) {
  CommandLine line(
      "Usage: pimbsr-sim check FILE\n\n"
      "Says what is wrong with a plan: exit status 0 nothing, 2 something.\n");
  line.needs("file", "which plan?");
  const auto given = line.valuesOf(arguments, out);
  if (!given) return done;
  const Plan plan = planOf((*given)["file"].as<std::string>(), err);
  out << counted(plan.routers.size(), "router") << ", " << counted(plan.links.size(), "link") << ", "
      << counted(plan.story.size(), "event") << ", " << counted(plan.expectations.size(), "expectation") << ", "
      << exactSeconds(plan.duration) << " s\n";
  return done;
}

int printSchema(const Arguments &arguments, std::ostream &out, std::ostream &) {
  const CommandLine line("Usage: pimbsr-sim schema\n\nPrints the JSON Schema of plans, for editors.\n");
  if (line.valuesOf(arguments, out)) out << planSchemaText();
  return done;
}

}  // namespace Planning
