/// Staged boot and shutdown: the system asks an agent to run stages, one by one, and goes on when
/// the agent has reported each complete.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/kiv/Attributes.h"
#include "platform/kiv/ReactorOf.h"

namespace Stage {

/// The stages that an agent is asked to run, by name ("stageInput/boot/PimBsr"). A stage that the
/// system takes away may be asked for again.
class AgentConfig : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(set, std::string, stage, Stage)
  KIV_ENTITY(AgentConfig, ATTRIBUTES)
#undef ATTRIBUTES
};

/// Those that the agent has completed ("stageAgentStatus/boot/PimBsr").
class AgentStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(set, std::string, completeStage, CompleteStage)
  KIV_ENTITY(AgentStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

inline constexpr std::string_view bootStageClass = "bootStageClass";
inline constexpr std::string_view shutdownStageClass = "shutdownStageClass";

/// Runs the stages of one class: calls the handler for each stage that is asked for and not yet
/// complete, and reports it complete when the agent says so. What an earlier run of the agent has
/// completed is not run again, while it is asked for.
class StagesHelper {
 public:
  using DoStage = std::function<void(std::string_view stageClass, std::string_view stage)>;

  /// `stageClass` outlives the helper.
  StagesHelper(std::string_view stageClass, const Kiv::Ptr<const AgentConfig> &config,
               const Kiv::Ptr<AgentStatus> &status, DoStage doStage);
  StagesHelper(const StagesHelper &) = delete;
  StagesHelper &operator=(const StagesHelper &) = delete;

  /// Starts to follow the input, with the stages that are asked for already; to be called once, by
  /// an owner whose handler can find the helper.
  void handleInitialized();
  /// May be called inside the handler or any time later. Ignored for a stage that is not asked for.
  void stageComplete(std::string_view stage);

 private:
  class KivConfig : public Kiv::ReactorOf<AgentConfig, StagesHelper> {
   public:
    using ReactorOf::ReactorOf;
    void onStage(const std::string &stage) override { owner_.handleStage(stage); }
    void followIs(const Kiv::Ptr<const AgentConfig> &config) {
      notifierIs(config);
      notifierReplay();
    }
  };

  void handleStage(const std::string &stage);

  const std::string_view stageClass_;
  const Kiv::Ptr<const AgentConfig> config_;
  const Kiv::Ptr<AgentStatus> status_;
  const DoStage doStage_;
  KivConfig kivConfig_;
};

}  // namespace Stage
