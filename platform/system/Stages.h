/// Staged boot and shutdown: the system asks an agent to run stages, one after another, and goes on when the agent
/// has reported the last one complete.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/kiv/Attributes.h"
#include "platform/kiv/ReactorOf.h"

namespace Stage {

/// The stages that an agent is asked to run, by name ("stageInput/boot/PimBsr"). Written by the system. A stage
/// that it takes away may be asked for again.
class AgentConfig : public Kiv::Entity {
  KIV_ENTITY_WITH(AgentConfig, set, std::string, stage, Stage)
};

/// The stages that the agent has completed ("stageAgentStatus/boot/PimBsr"). Written by the agent, through
/// StagesHelper; the system reads it.
class AgentStatus : public Kiv::Entity {
  KIV_ENTITY_WITH(AgentStatus, set, std::string, completeStage, CompleteStage)
};

/// The two classes of stages.
inline constexpr std::string_view bootStageClass = "bootStageClass";
inline constexpr std::string_view shutdownStageClass = "shutdownStageClass";

/// Runs the stages of one class for an agent, which owns it: calls the handler for each stage that is asked for
/// and not complete, and reports it complete when the agent says so. A stage that an earlier run of the agent has
/// completed is not run again as long as it is asked for.
class StagesHelper {
 public:
  using DoStage = std::function<void(std::string_view stageClass, std::string_view stage)>;

  /// `stageClass` must outlive the helper.
  StagesHelper(std::string_view stageClass, const Kiv::Ptr<const AgentConfig> &config,
               const Kiv::Ptr<AgentStatus> &status, DoStage doStage);

  /// Begins with the stages that are asked for already, and follows the input from then on. To be called once,
  /// when the owner's handler can reach the helper. Reports of stages that are no longer asked for are removed.
  void handleInitialized();
  /// The agent has completed the stage. May be called inside the handler or at any time later; ignored for a
  /// stage that is not asked for.
  void stageComplete(std::string_view stage);

 private:
  class KivConfig : public Kiv::ReactorOf<AgentConfig, StagesHelper> {
   public:
    using ReactorOf::ReactorOf;
    void onStage(const std::string &stage) override { owner_.handleStage(stage); }
  };

  void handleStage(const std::string &stage);

  const std::string_view stageClass_;
  const Kiv::Ptr<const AgentConfig> config_;
  const Kiv::Ptr<AgentStatus> status_;
  const DoStage doStage_;
  KivConfig kivConfig_;
};

}  // namespace Stage
