// Staged boot and shutdown, as the system asks an agent for them.
#include <gtest/gtest.h>

#include "tests/agent/World.h"

namespace Test {
namespace {

using Stages = BothFamilies;
const std::string shutdown("NetworkAgentShutdown");

// Ends the agent inside the report of a complete stage, if it is to.
struct Ending : Stage::AgentStatus::Notifiee {
  Ending(World &world, bool wanted) : world(world) {
    if (wanted) notifierIs(world.system.shutdownStageStatus);
  }
  void onCompleteStage(const std::string &) override { world.stop(); }
  World &world;
};

TEST_P(Stages, OnlyThoseOfTheNetworkAreRunAndEachInItsOwnClass) {
  for (const char *stage : {"Forwarding", "NetworkAgent", "NetworkAgentShutdown"}) {
    system.bootStageInput->stageIs(stage);
    if (stage != shutdown) system.shutdownStageInput->stageIs(stage);
  }
  start();
  advance(100);
  EXPECT_EQ(system.bootStageStatus->completeStage().keys(), std::vector<std::string>{"NetworkAgent"});
  EXPECT_TRUE(system.shutdownStageStatus->completeStage().empty());
  EXPECT_FALSE(agent->shutdown());
}

TEST_P(Stages, TheShutdownIsCompleteOnceEveryVrfThatRunsIs) {
  struct Row {
    int vrfs;
    bool standby;
    std::function<void(World &)> afterOneSecond;
    double completeAfter;
  };
  const auto nothing = [](World &) {};
  const Row rows[] = {
      {0, false, nothing, 0},
      {1, false, nothing, 5},
      {3, false, nothing, 5},
      {3, true, nothing, 0},
      {1, false, [](World &world) { world.system.vrfDel("v0"); }, 1},
      {3, false, [](World &world) { world.standbyIs(true); }, 1},
      {3, false, [](World &world) { world.system.pimDel("v1"); }, 5},
      {3, false, [](World &world) { world.add("late"); }, 6},
      {1, false,
       [](World &world) { world.add("late"), world.advance(4.5), world.system.pimDel("v0"), world.pimIs("v0"); }, 10.5},
  };
  for (const Row &row : rows) {
    for (const bool ends : {false, true}) {
      SCOPED_TRACE(&row - rows);
      World world(GetParam());
      const Ending ending(world, ends);
      for (int i = 0; i < row.vrfs; ++i) world.add("v" + std::to_string(i));
      world.standbyIs(row.standby);
      world.start();
      world.system.shutdownStageInput->stageIs(shutdown);
      const auto isComplete = [&] { return world.system.shutdownStageStatus->completeStage(shutdown); };
      EXPECT_FALSE(isComplete()) << "not before the next turn";
      const double begin = world.time.now();
      if (!world.time.runUntil(isComplete, begin + 1)) {
        row.afterOneSecond(world);
        EXPECT_TRUE(world.time.runUntil(isComplete, begin + 100));
      }
      EXPECT_DOUBLE_EQ(world.time.now() - begin, row.completeAfter);
      EXPECT_EQ(world.agent == nullptr, ends);
    }
  }
}

TEST_P(Stages, AShutdownThatIsAskedForAgainIsCompleteAtOnceAndANewProcessKnowsOfNone) {
  add("default");
  candidateRpIs("default", a.group(1), 51);
  system.pimDel("default");
  start();
  const auto interval = [&] { return status("default")->crp(a.host(51))->interval().number(); };
  system.shutdownStageInput->stageIs(shutdown);
  pimIs("default");
  advance(1);
  EXPECT_FALSE(system.shutdownStageStatus->completeStage(shutdown)) << "a VRF came first";
  add("late");
  system.pimDel("late");
  pimIs("late");
  advance(5);
  system.shutdownStageInput->stageDel(shutdown);
  standbyIs(true);
  standbyIs(false);
  EXPECT_EQ(interval(), 120u);
  system.shutdownStageInput->stageIs(shutdown);
  EXPECT_TRUE(system.shutdownStageStatus->completeStage(shutdown));
  stop();
  start();
  EXPECT_EQ(interval(), 60u);
  EXPECT_FALSE(agent->shutdown());
}

FOR_BOTH_FAMILIES(Stages);

}  // namespace
}  // namespace Test
