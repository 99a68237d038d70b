#include "platform/system/Stages.h"

#include <gtest/gtest.h>

namespace {

struct Stages : testing::Test {
  const Kiv::Ptr<Stage::AgentConfig> input = Kiv::make<Stage::AgentConfig>();
  const Kiv::Ptr<Stage::AgentStatus> status = Kiv::make<Stage::AgentStatus>();
  std::vector<std::string> run;
  std::unique_ptr<Stage::StagesHelper> helper;

  /// A new run of an agent, which completes stages named "quick" at once.
  void start() {
    const auto doStage = [this](std::string_view stageClass, std::string_view stage) {
      EXPECT_EQ(stageClass, "bootStageClass");
      run.emplace_back(stage);
      if (stage == "quick") helper->stageComplete(stage);
    };
    helper = std::make_unique<Stage::StagesHelper>(Stage::bootStageClass, input, status, doStage);
    helper->handleInitialized();
  }
};

TEST_F(Stages, ARestartRunsWhatWasLeftIncomplete) {
  for (const char *stage : {"quick", "slow", "gone"}) input->stageIs(stage);
  start();
  helper->stageComplete("gone");
  helper.reset();
  input->stageDel("gone");
  run.clear();
  start();
  EXPECT_EQ(run, std::vector<std::string>{"slow"});
  EXPECT_EQ(status->completeStage().keys(), std::vector<std::string>{"quick"});
  helper->stageComplete("unasked");
  EXPECT_FALSE(status->completeStage("unasked"));
  input->stageDel("quick");
  EXPECT_FALSE(status->completeStage("quick"));
  input->stageIs("quick");
  EXPECT_EQ(run, (std::vector<std::string>{"slow", "quick"})) << "asked for anew";
}

}  // namespace
