// Staged boot and shutdown, as the system asks an agent for them.
#include <gtest/gtest.h>

#include "tests/agent/World.h"

namespace Test {
namespace {

using Stages = BothFamilies;
const std::string shutdown("NetworkAgentShutdown");

/// Ends the agent inside the report of a complete stage, if it is to.
struct Ending : Stage::AgentStatus::Notifiee {
  Ending(World &world, bool wanted) : w(world) {
    if (wanted) notifierIs(w.system.shutdownStageStatus);
  }
  void onCompleteStage(const std::string &) override { w.stop(); }
  World &w;
};

TEST_P(Stages, OnlyThoseOfTheNetworkAreRunAndEachInItsOwnClass) {
  Tracelet::CaptureSink log;
  for (const char *stage : {"Forwarding", "NetworkAgent", "NetworkAgentShutdown"}) {
    w.system.bootStageInput->stageIs(stage);
    if (stage != shutdown) w.system.shutdownStageInput->stageIs(stage);
  }
  w.start();
  w.advance(100);
  EXPECT_EQ(w.system.bootStageStatus->completeStage().keys(), std::vector<std::string>{"NetworkAgent"});
  EXPECT_TRUE(w.system.shutdownStageStatus->completeStage().empty());
  EXPECT_FALSE(w.agent->shutdown());
  EXPECT_TRUE(log.contains("doStage, stageClass: bootStageClass, stage: NetworkAgent"));
  EXPECT_TRUE(log.contains("doStage, stageClass: shutdownStageClass, stage: Forwarding"));
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
      {1, false, [](World &w) { w.system.vrfDel("v0"); }, 1},
      {3, false, [](World &w) { w.standbyIs(true); }, 1},
      {3, false, [](World &w) { w.system.pimDel("v1"); }, 5},
      {3, false, [](World &w) { w.add("late"); }, 6},
      {1, false, [](World &w) { w.add("late"), w.advance(4.5), w.system.pimDel("v0"), w.pimIs("v0"); }, 10.5},
  };
  for (const Row &row : rows) {
    for (const bool ends : {false, true}) {
      SCOPED_TRACE(&row - rows);
      World w(GetParam());
      const Ending ending(w, ends);
      for (int i = 0; i < row.vrfs; ++i) w.add("v" + std::to_string(i));
      w.standbyIs(row.standby);
      w.start();
      w.system.shutdownStageInput->stageIs(shutdown);
      const auto isComplete = [&] { return w.system.shutdownStageStatus->completeStage(shutdown); };
      EXPECT_FALSE(isComplete()) << "not before the next turn";
      const double begin = w.time.now();
      if (!w.time.runUntil(isComplete, begin + 1)) {
        row.afterOneSecond(w);
        EXPECT_TRUE(w.time.runUntil(isComplete, begin + 100));
      }
      EXPECT_DOUBLE_EQ(w.time.now() - begin, row.completeAfter);
      EXPECT_EQ(w.agent == nullptr, ends);
    }
  }
}

TEST_P(Stages, AShutdownThatIsAskedForAgainIsCompleteAtOnceAndANewProcessKnowsOfNone) {
  Tracelet::CaptureSink log;
  w.add("default");
  w.candidateRpIs("default", a.group(1), 51);
  w.system.pimDel("default");
  w.start();
  const auto interval = [&] { return w.status("default")->crp(a.host(51))->interval().number(); };
  w.system.shutdownStageInput->stageIs(shutdown);
  w.pimIs("default");
  w.advance(1);
  EXPECT_FALSE(w.system.shutdownStageStatus->completeStage(shutdown)) << "a VRF came first";
  w.add("late");
  w.system.pimDel("late");
  w.pimIs("late");
  EXPECT_TRUE(log.contains("(), No VRFs have completed."));
  w.advance(5);
  EXPECT_TRUE(log.contains("(), in progress for VRF late"));
  EXPECT_TRUE(log.contains("(), completed for all VRFs"));
  w.system.shutdownStageInput->stageDel(shutdown);
  w.standbyIs(true);
  w.standbyIs(false);
  EXPECT_EQ(interval(), 120u);
  w.system.shutdownStageInput->stageIs(shutdown);
  EXPECT_TRUE(w.system.shutdownStageStatus->completeStage(shutdown));
  w.stop();
  w.start();
  EXPECT_EQ(interval(), 60u);
  EXPECT_FALSE(w.agent->shutdown());
}

FOR_BOTH_FAMILIES(Stages);

}  // namespace
}  // namespace Test
