#include "platform/system/Stages.h"

#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

TEST(Stages, ARestartRunsWhatWasLeftIncomplete) {
  const auto input = Kiv::make<Stage::AgentConfig>();
  const auto status = Kiv::make<Stage::AgentStatus>();
  Names run;
  std::unique_ptr<Stage::StagesHelper> helper;
  const auto start = [&] {  // an agent that completes the stage "quick" at once
    helper = std::make_unique<Stage::StagesHelper>(Stage::bootStageClass, input, status, [&](auto, auto stage) {
      run.emplace_back(stage);
      if (stage == "quick") helper->stageComplete(stage);
    });
    helper->handleInitialized();
  };
  for (const char *stage : {"quick", "slow", "gone"}) input->stageIs(stage);
  start();
  helper->stageComplete("gone");
  helper.reset();
  input->stageDel("gone");
  run.clear();
  start();
  EXPECT_EQ(run, Names{"slow"});
  helper->stageComplete("unasked");
  EXPECT_EQ(status->completeStage().keys(), Names{"quick"});
  input->stageDel("quick");
  EXPECT_TRUE(status->completeStage().empty());
  input->stageIs("quick");
  EXPECT_EQ(run, (Names{"slow", "quick"})) << "asked for anew";
}

}  // namespace
