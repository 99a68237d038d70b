#include "agent/Agent.h"

#include "agent/RootSm.h"
#include "platform/tracelet/Require.h"
#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Agent");

constexpr uint32_t maxRoutes = 12000;

}  // namespace

Agent::Agent(Pax::AddressFamily af, const Process &process)
    : af_(af),
      name_(agentName(af)),
      process_(process),
      shutdown_(containerSm_, Kiv::make<Orb::TimerWheel>(process.clock, process.waker),
                [this] { doShutdownStageComplete(); }) {}

Agent::~Agent() {
  redundancyStatusSm_.reset();
  shutdownStagesHelper_.reset();
  bootStagesHelper_.reset();
  doCleanup();
}

void Agent::doInit() {
  if (mountGroup_) return;
  TRACELET(trace, 4, name_ << " mounts its state");
  mountGroup_ = std::make_unique<Statehub::MountGroup>(process_.store);
  doAfInit(*mountGroup_);
  mountGroup_->whenComplete([this] { doMountsComplete(); });
}

void Agent::doMountsComplete() {
  TRACELET(trace, 4, name_ << " has its state mounted");
  mounts_.aclConfig = Kiv::make<Acl::Input::Config>();
  aclConfigAggregatorSm_ =
      std::make_unique<Acl::AclConfigAggregatorSm>(mounts_.aclInput, mounts_.aclCli, mounts_.aclConfig);
  redundancyStatusSm_ =
      std::make_unique<RedundancyStatusSm>(mounts_.redundancyStatus, [this](bool standby) { standbyModeIs(standby); });
  const auto doStage = [this](std::string_view stageClass, std::string_view stage) {
    this->doStage(stageClass, stage);
  };
  bootStagesHelper_ = std::make_unique<Stage::StagesHelper>(Stage::bootStageClass, mounts_.bootStageInput,
                                                            mounts_.bootStageStatus, doStage);
  shutdownStagesHelper_ = std::make_unique<Stage::StagesHelper>(Stage::shutdownStageClass, mounts_.shutdownStageInput,
                                                                mounts_.shutdownStageStatus, doStage);
  doAfMountsComplete();
  mountsComplete_ = true;
  handleStandbyMode();
  bootStagesHelper_->handleInitialized();
  shutdownStagesHelper_->handleInitialized();
}

void Agent::standbyModeIs(bool standby) {
  if (standbyMode_ == standby) return;
  standbyMode_ = standby;
  if (mountsComplete_) handleStandbyMode();
}

void Agent::handleStandbyMode() {
  TRACELET(trace, 9, __PRETTY_FUNCTION__);
  if (starting_ > 0) {
    TRACELET(trace, 4, "The change of standby waits until what starts has started");
    standbyWaits_ = true;
    return;
  }
  if (standbyMode_) {
    TRACELET(trace, 4, "Standby supe. Cleaning up any instance of Sm");
    doCleanup();
    shutdown_.evaluate();
  } else {
    rootSmIs(af_, maxRoutes);
  }
}

void Agent::doCleanup() {
  rootSm_.reset();
  if (watcher_) {
    for (const auto &[vrf, machines] : containerSm_) watcher_->vrfStops(vrf);
  }
  containerSm_.clear();
  containerColl_.clear();
}

Agent::Starting::~Starting() {
  if (--agent_.starting_ == 0 && std::exchange(agent_.standbyWaits_, false)) agent_.handleStandbyMode();
}

void Agent::rootSmIs(Pax::AddressFamily af, uint32_t maxRoutes) {
  if (rootSm_) return;
  const Starting starting(*this);
  rootSm_ = std::make_unique<RootSm>(*this, af, maxRoutes);
  rootSm_->handleInitialized();
}

void Agent::doStage(std::string_view stageClass, std::string_view stage) {
  TRACELET(trace, 4, "doStage, stageClass: " << stageClass << ", stage: " << stage);
  if (stageClass == Stage::bootStageClass) doBootStage(stage);
  if (stageClass == Stage::shutdownStageClass) doShutdownStage(stage);
}

void Agent::doBootStage(std::string_view stage) {
  if (stage == bootStage) bootStagesHelper_->stageComplete(bootStage);
}

void Agent::doShutdownStage(std::string_view stage) {
  if (stage == shutdownStage) shutdown_.begin();
}

void Agent::doShutdownStageComplete() {
  if (shutdownStagesHelper_) shutdownStagesHelper_->stageComplete(shutdownStage);
}

Container *Agent::container(const L3::VrfName &vrf) const {
  const auto found = containerColl_.find(vrf);
  return found == containerColl_.end() ? nullptr : found->second.get();
}

const ContainerSm *Agent::containerSm(const L3::VrfName &vrf) const {
  const auto found = containerSm_.find(vrf);
  return found == containerSm_.end() ? nullptr : found->second.get();
}

Container &Agent::containerIs(const L3::VrfName &vrf) {
  std::unique_ptr<Container> &container = containerColl_[vrf];
  if (!container) container = std::make_unique<Container>();
  container->vrf = vrf;
  container->clock = &process_.clock;
  container->waker = &process_.waker;
  container->random = &process_.random;
  container->hitlessClientVrfStatus = shutdown_.vrfStatus();
  container->hitlessClientShutdownStatus = shutdown_.shutdownStatus();
  return *container;
}

void Agent::containerSmIs(const L3::VrfName &vrf) {
  const auto &machines = containerSm_[vrf] = std::make_unique<ContainerSm>(*containerColl_.at(vrf));
  if (watcher_) watcher_->vrfRuns(vrf, *machines);
}

void Agent::containerSmDel(const L3::VrfName &vrf) {
  if (watcher_ && containerSm_.contains(vrf)) watcher_->vrfStops(vrf);
  if (containerSm_.erase(vrf) > 0) shutdown_.vrfStopped(vrf);
}

std::unique_ptr<Agent> makeAgent(Pax::AddressFamily af, const Agent::Process &process) {
  if (af == Pax::AddressFamily::ipv4) return std::make_unique<Agent4>(process);
  REQUIRE_AS(af == Pax::AddressFamily::ipv6, "0 && \"Unsupported Address Family\"");
  return std::make_unique<Agent6>(process);
}

}  // namespace Routing::Pim::Bsr
