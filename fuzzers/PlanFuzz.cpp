// A plan that is accepted can be played, whatever happens in it.

#include "fuzzers/Traces.h"
#include "plan/PlanFile.h"
#include "plan/Simulation.h"

using namespace Planning;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Fuzz::traceAtLevel(1);
  const LoadedPlan loaded = planFromText({reinterpret_cast<const char *>(data), size}, "/nowhere");
  const Plan &plan = loaded.plan;
  if (!loaded.good() || plan.routers.size() > 10) return 0;
  Simulation simulation(plan, plan.seed);
  double last = 0;
  for (const Action &action : plan.story) {
    if (action.at > 2000) break;
    simulation.runTo(last = action.at);
  }
  simulation.runTo(std::min(plan.duration, last + 200));
  simulation.regions(Pax::allGroups(plan.family));
  for (size_t router = 0; router < plan.routers.size(); ++router) {
    simulation.box(router).shown("rp-set", "");
    simulation.box(router).explained("bsr", "");
  }
  return 0;
}
