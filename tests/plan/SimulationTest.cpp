#include "plan/Simulation.h"

#include <gtest/gtest.h>

#include "tests/plan/Plans.h"

namespace Planning {
namespace {

constexpr const char *triangle = R"({
  "templates": {"candidate": {"vrfConfig": {"default": {
    "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {"priority": "${priority}"}}}},
    "rpCandidateConfig": {"lo": {"groupRange": {"224.0.0.0/4": {}}}}}}}},
  "routers": {"r1": {"template": "candidate", "values": {"priority": 65}},
              "r2": {"template": "candidate", "values": {"priority": 64}}, "r10": {}},
  "links": [{"between": ["r1", "r2"]}, {"between": ["r2", "r10"]}, {"between": ["r1", "r10"]}],
  "events": [{"at": 200, "crash": "r1"}]
})";

TEST(Simulation, RoutersElectAgainWhenTheirBsrCrashes) {
  const Plan plan = planFrom(triangle);
  const Pax::IpGenPrefix all = Pax::allGroups(Pax::AddressFamily::ipv4);
  ASSERT_EQ(plan.routers[2].name, "r10");
  Simulation simulation(plan, 1);
  simulation.runTo(150);
  for (const Node &node : plan.nodes()) {
    EXPECT_EQ(Kiv::toText(simulation.held(node).at(all).bsr), "192.168.0.1") << plan.nameOf(node);
    EXPECT_EQ(simulation.held(node).at(all).rps, 2u) << plan.nameOf(node);
  }
  simulation.runTo(600);
  EXPECT_TRUE(simulation.held({0, 0}).empty());
  EXPECT_EQ(Kiv::toText(simulation.held({2, 0}).at(all).bsr), "192.168.0.2");
  EXPECT_EQ(simulation.held({2, 0}).at(all).rps, 1u);
}

}  // namespace
}  // namespace Planning
