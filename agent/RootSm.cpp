#include "agent/RootSm.h"

#include "agent/EarlierRun.h"
#include "agent/IntfConfigFill.h"
#include "agent/RootReactors.h"
#include "agent/VrfStart.h"
#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Agent");

RootSm::RootSm(Agent &agent, Pax::AddressFamily af, uint32_t maxRoutes)
    : agent_(agent),
      af_(af),
      maxRoutes_(maxRoutes),
      mounts_(agent.mounts_),
      idleAging_(agent.process_, agent.mounts_) {}

RootSm::~RootSm() = default;

void RootSm::handleInitialized() {
  TRACELET(trace, 9, __PRETTY_FUNCTION__);
  TRACELET(trace, 4, "Starting with at most " << maxRoutes_ << " routes");
  removeExtraVrfs(mounts_);
  reactors_ = std::make_unique<RootReactors>(*this, mounts_, agent_.shutdown_.vrfStatus());
  for (const L3::VrfName &vrf : mounts_.allVrfStatusLocal->vrfStatus().keys()) handleVrf(vrf);
  for (const Pax::IntfId &intfId : mounts_.configColl->intfConfig().keys()) handleBsrIntfConfig(intfId);
}

std::string RootSm::reason(const L3::VrfName &vrf) const {
  const auto found = reason_.find(vrf);
  return found == reason_.end() ? std::string() : found->second;
}

void RootSm::handleVrf(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  if (const auto start = start_.find(vrf); start != start_.end() && start->second->phase != VrfStart::Phase::mounting) {
    start->second->phase = VrfStart::Phase::toBeLookedAtAgain;
    return;
  }
  if (mounts_.allVrfStatusLocal->vrfStatus(vrf)) {
    if (!agent_.container(vrf)) handleVrfAdd(vrf);
    if (checkMounts(vrf)) {
      handlePimEnabled(vrf);
    } else {
      handlePimDisabled(vrf);
    }
  } else if (agent_.container(vrf)) {
    handlePimDisabled(vrf);
    handleVrfDel(vrf);
  }
}

void RootSm::handleVrfAdd(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  TRACELET(trace, 4, "VRF " << vrf << " is new");
  const Kiv::Ptr<Status> status = mounts_.statusColl->vrfStatusIs(vrf);
  if (!mounts_.rpCandidateStatusColl->vrfStatus(vrf)) {
    mounts_.rpCandidateStatusColl->vrfStatusIs(vrf, Kiv::make<RpCandidateStatus>(vrf.text()));
  }
  Container &container = agent_.containerIs(vrf);
  container.status = status;
  container.rpCandidateStatus = *mounts_.rpCandidateStatusColl->vrfStatus(vrf);
  container.configColl = mounts_.configColl;
  container.vrfIntfConfig = Kiv::make<VrfIntfConfig>(vrf.text());
  removeExtraRps(*status, *container.rpCandidateStatus);
  intfConfigFill(container).all();
  idleAging_.idleIs(vrf, true);
}

void RootSm::handleVrfDel(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  TRACELET(trace, 4, "VRF " << vrf << " is gone");
  agent_.containerSmDel(vrf);
  agent_.containerDel(vrf);
  idleAging_.idleIs(vrf, false);
  mounts_.statusColl->vrfStatusDel(vrf);
  mounts_.rpCandidateStatusColl->vrfStatusDel(vrf);
  reason_.erase(vrf);
}

bool RootSm::checkMounts(const L3::VrfName &vrf) {
  reasonIs(vrf, missingMount(vrf));
  return reason_[vrf].empty();
}

void RootSm::reasonIs(const L3::VrfName &vrf, const std::string &missing) {
  reason_[vrf] = missing;
  TRACELET(trace, 4, "( " << vrf << " ), " << (missing.empty() ? "all mounts available" : missing));
}

// In this order; the first that fails.
std::string RootSm::missingMount(const L3::VrfName &vrf) const {
  if (!mounts_.pimGlobalStatus->enabledVrf(vrf)) return "PIM is not enabled";
  if (!mounts_.allIntfStatusDir->vrfIntfStatus(vrf)) return "missing in vrfIpIntfStatus";
  if (!mounts_.groupStatusColl->vrfStatus(vrf)) return "missing in Group MRT status";
  if (!mounts_.bidirGroupStatusColl->vrfStatus(vrf)) return "missing in Bidir Group MRT status";
  if (!mounts_.mribStatusColl->vrfStatus(vrf)) return "missing in Mrib status";
  if (!mounts_.rpConfigColl->vrfConfig(vrf)) return "missing in Rp Config";
  if (!mounts_.bidirRpConfigColl->vrfConfig(vrf)) return "missing in Bidir Rp Config";
  const auto status = mounts_.allVrfStatusLocal->vrfStatus(vrf);
  if (vrf.text() != L3::defaultVrf && !status->namespaceExists()) return "netns doesn't exist";
  return {};
}

// What the platform gives a VRF before it enables PIM there. A VRF that runs goes on without.
std::string RootSm::missingDefault(const L3::VrfName &vrf) const {
  if (!mounts_.configColl->vrfConfig(vrf)) return "missing in Config";
  if (!mounts_.clearConfigColl->vrfClearConfig(vrf)) return "missing in ClearConfig";
  if (!mounts_.pimStatusColl->vrfStatus(vrf)) return "missing in Pim status";
  return {};
}

void RootSm::handlePimEnabled(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  if (agent_.containerSm(vrf) || start_.contains(vrf)) return;
  if (const std::string missing = missingDefault(vrf); !missing.empty()) return reasonIs(vrf, missing);
  TRACELET(trace, 4, "Pim is enabled for vrf " << vrf);
  VrfStart &start = *(start_[vrf] = std::make_unique<VrfStart>(agent_.process_.store, af_, *agent_.container(vrf)));
  doKniInit(vrf);
  start.whenMounted([this, vrf] { handleStartMounted(vrf); });
}

void RootSm::doKniInit(const L3::VrfName &vrf) {
  start_.at(vrf)->kernelInterfacesMount(mounts_.allVrfStatusLocal->vrfStatus(vrf)->namespaceName());
}

void RootSm::handleStartMounted(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  const Agent::Starting starting(agent_);  // its end may be that of this machine
  VrfStart &start = *start_.at(vrf);
  const std::string missing = missingDefault(vrf);  // it may have gone while the mounts were waited for
  if (missing.empty()) {
    start.phase = VrfStart::Phase::makingMachines;
    start.fill(mounts_);
    idleAging_.idleIs(vrf, false);
    agent_.containerSmIs(vrf);
  } else {
    reasonIs(vrf, missing);
  }
  const bool lookAgain = start.phase == VrfStart::Phase::toBeLookedAtAgain;
  start_.erase(vrf);
  if (lookAgain) handleVrf(vrf);
}

void RootSm::handlePimDisabled(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  TRACELET(trace, 4, "Pim is disabled for vrf " << vrf);
  start_.erase(vrf);
  agent_.containerSmDel(vrf);
  idleAging_.idleIs(vrf, true);
}

void RootSm::handleVrfIntfStatus(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  if (const Container *container = agent_.container(vrf)) intfConfigFill(*container).all();
  handleVrf(vrf);
}

void RootSm::handleBsrIntfConfig(const Pax::IntfId &intfId) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << intfId << " )");
  for (const auto &[vrf, container] : agent_.containerColl()) intfConfigFill(*container).one(intfId);
}

IntfConfigFill RootSm::intfConfigFill(const Container &container) const {
  using Step = IntfConfigFill::Step;
  const L3::VrfName &vrf = container.vrf;
  const auto *interfaces = mounts_.allIntfStatusDir->vrfIntfStatus(vrf);
  return {container, interfaces ? interfaces->get() : nullptr, [&vrf](Step step, const Pax::IntfId &intfId) {
            if (step == Step::add) TRACELET(trace, 4, "Adding Bsr intf config " << intfId << " to vrf " << vrf);
            if (step == Step::remove) TRACELET(trace, 4, "Deleting Bsr intf config " << intfId << " from vrf " << vrf);
          }};
}

void RootSm::handleHitlessCompletedVrf() {
  TRACELET(trace, 9, __PRETTY_FUNCTION__);
  agent_.shutdown_.evaluate();
}

}  // namespace Routing::Pim::Bsr
