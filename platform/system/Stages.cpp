#include "platform/system/Stages.h"

namespace Stage {

StagesHelper::StagesHelper(std::string_view stageClass, const Kiv::Ptr<const AgentConfig> &config,
                           const Kiv::Ptr<AgentStatus> &status, DoStage doStage)
    : stageClass_(stageClass), config_(config), status_(status), doStage_(std::move(doStage)), kivConfig_(*this) {}

void StagesHelper::handleInitialized() {
  for (const std::string &stage : status_->completeStage().keys()) {
    if (!config_->stage(stage)) status_->completeStageDel(stage);
  }
  kivConfig_.notifierIs(config_);
  config_->replay(kivConfig_);
}

void StagesHelper::handleStage(const std::string &stage) {
  if (!config_->stage(stage)) {
    status_->completeStageDel(stage);
  } else if (!status_->completeStage(stage)) {
    doStage_(stageClass_, stage);
  }
}

void StagesHelper::stageComplete(std::string_view stage) {
  const std::string name(stage);
  if (config_->stage(name)) status_->completeStageIs(name);
}

}  // namespace Stage
