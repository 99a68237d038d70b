#include "agent/RootSm.h"

#include <vector>

#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Agent");

// An RP that no zone has learned is not published.
void removeExtraRps(const Status &status, RpCandidateStatus &published) {
  const auto isLearned = [&](const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) {
    for (const auto &[zone, learned] : status.crpStatus()) {
      const auto set = learned->status() ? learned->status()->crpSet(prefix) : nullptr;
      if (set && set->rp(rp)) return true;
    }
    return false;
  };
  for (const Pax::IpGenPrefix &prefix : published.crpSet().keys()) {
    const auto set = published.crpSet(prefix);
    for (const Pax::IpGenAddr &rp : set->rp().keys()) {
      if (!isLearned(prefix, rp)) set->rpDel(rp);
    }
    if (set->rp().empty()) published.crpSetDel(prefix);
  }
}

}  // namespace

/// The mounts of one VRF that is about to start.
class RootSm::Start {
 public:
  explicit Start(Statehub::Store &store) : mounts(store) {}

  Statehub::MountGroup mounts;
  /// While the machines are being made the VRF is left alone, and looked at afterwards if need be.
  bool makesMachines = false;
  bool lookAgain = false;
  Kiv::Ptr<const ::Flume::Fib::RouteStatus> uribStatus;
  Kiv::Ptr<const ::Flume::Fib::ForwardingStatus> uribFec;
  Kiv::Ptr<const ::Flume::Fib6::RouteStatus> urib6Status;
  Kiv::Ptr<const ::Flume::Fib6::ForwardingStatus> urib6Fec;
  Kiv::Ptr<Flume::MessageCounters> pimCounters;
  Kiv::Ptr<const IO::ChannelStatus> channelStatus;
  Kiv::Ptr<const KernelNetInfo::Status> kernelVrfIntfStatusDir;
};

/// The reactors: whatever may affect a VRF has it looked at again.
class RootSm::Kivs {
 public:
  explicit Kivs(RootSm &sm)
      : vrfs_(sm),
        intfs_(sm, sm.mounts_.allIntfStatusDir),
        global_(sm, sm.mounts_.pimGlobalStatus),
        pimStatus_(sm, sm.mounts_.pimStatusColl),
        groups_(sm, sm.mounts_.groupStatusColl),
        bidirGroups_(sm, sm.mounts_.bidirGroupStatusColl),
        mrib_(sm, sm.mounts_.mribStatusColl),
        rpConfig_(sm, sm.mounts_.rpConfigColl),
        bidirRpConfig_(sm, sm.mounts_.bidirRpConfigColl),
        config_(sm),
        clearConfig_(sm),
        hitless_(sm) {}

 private:
  template <class Coll>
  class KivVrfStatus : public Coll::Notifiee {
   public:
    KivVrfStatus(RootSm &sm, const Kiv::Ptr<const Coll> &coll) : sm_(sm) { this->notifierIs(coll); }
    void onVrfStatus(const L3::VrfName &vrf) override { sm_.handleVrf(vrf); }

   private:
    RootSm &sm_;
  };
  class KivRpConfig : public RpConfigColl::Notifiee {
   public:
    KivRpConfig(RootSm &sm, const Kiv::Ptr<const RpConfigColl> &coll) : sm_(sm) { notifierIs(coll); }
    void onVrfConfig(const L3::VrfName &vrf) override { sm_.handleVrf(vrf); }

   private:
    RootSm &sm_;
  };
  class KivIntfs : public Interface::AllIntfStatusDir::Notifiee {
   public:
    KivIntfs(RootSm &sm, const Kiv::Ptr<const Interface::AllIntfStatusDir> &dir) : sm_(sm) { notifierIs(dir); }
    void onVrfIntfStatus(const L3::VrfName &vrf) override { sm_.handleVrfIntfStatus(vrf); }

   private:
    RootSm &sm_;
  };
  class KivGlobal : public GlobalStatus::Notifiee {
   public:
    KivGlobal(RootSm &sm, const Kiv::Ptr<const GlobalStatus> &status) : sm_(sm) { notifierIs(status); }
    void onEnabledVrf(const L3::VrfName &vrf) override { sm_.handleVrf(vrf); }

   private:
    RootSm &sm_;
  };
  class KivVrf : public Ip::VrfStatusLocal::Notifiee {
   public:
    KivVrf(RootSm &sm, const L3::VrfName &vrf, const Kiv::Ptr<const Ip::VrfStatusLocal> &status) : sm_(sm), vrf_(vrf) {
      notifierIs(status);
    }
    void onNamespaceExists() override { sm_.handleVrf(vrf_); }

   private:
    RootSm &sm_;
    const L3::VrfName vrf_;
  };
  class KivVrfs : public Ip::AllVrfStatusLocal::Notifiee {
   public:
    explicit KivVrfs(RootSm &sm) : sm_(sm) {
      notifierIs(sm.mounts_.allVrfStatusLocal);
      for (const L3::VrfName &vrf : notifier()->vrfStatus().keys()) follow(vrf);
    }
    void onVrfStatus(const L3::VrfName &vrf) override {
      follow(vrf);
      sm_.handleVrf(vrf);
    }

   private:
    void follow(const L3::VrfName &vrf) {
      vrf_.erase(vrf);
      if (const auto status = notifier()->vrfStatus(vrf)) vrf_[vrf] = std::make_unique<KivVrf>(sm_, vrf, status);
    }

    RootSm &sm_;
    std::map<L3::VrfName, std::unique_ptr<KivVrf>> vrf_;
  };
  class KivClearConfigColl : public ClearConfigColl::Notifiee {
   public:
    explicit KivClearConfigColl(RootSm &sm) : sm_(sm) { notifierIs(sm.mounts_.clearConfigColl); }
    void onVrfClearConfig(const L3::VrfName &vrf) override { sm_.handleVrf(vrf); }

   private:
    RootSm &sm_;
  };
  class KivConfigColl : public ConfigColl::Notifiee {
   public:
    explicit KivConfigColl(RootSm &sm) : sm_(sm) { notifierIs(sm.mounts_.configColl); }
    void onVrfConfig(const L3::VrfName &vrf) override { sm_.handleVrf(vrf); }
    void onIntfConfig(const Pax::IntfId &intfId) override { sm_.handleBsrIntfConfig(intfId); }

   private:
    RootSm &sm_;
  };
  class KivHitless : public McastCommon::HitlessVrfStatus::Notifiee {
   public:
    explicit KivHitless(RootSm &sm) : sm_(sm) { notifierIs(sm.agent_.hitlessClientVrfStatus_); }
    void onCompletedVrf(const L3::VrfName &) override { sm_.handleHitlessCompletedVrf(); }

   private:
    RootSm &sm_;
  };

  KivVrfs vrfs_;
  KivIntfs intfs_;
  KivGlobal global_;
  KivVrfStatus<Pim::StatusColl> pimStatus_;
  KivVrfStatus<GroupStatusColl> groups_, bidirGroups_;
  KivVrfStatus<Multicast::Rib::StatusColl> mrib_;
  KivRpConfig rpConfig_, bidirRpConfig_;
  KivConfigColl config_;
  KivClearConfigColl clearConfig_;
  KivHitless hitless_;
};

RootSm::RootSm(Agent &agent, Pax::AddressFamily af, uint32_t maxRoutes)
    : agent_(agent), af_(af), maxRoutes_(maxRoutes), mounts_(agent.mounts_) {}

RootSm::~RootSm() = default;

void RootSm::handleInitialized() {
  TRACELET(trace, 9, __PRETTY_FUNCTION__);
  TRACELET(trace, 4, "Starting with at most " << maxRoutes_ << " routes");
  doRemoveExtraVrfs();
  kivs_ = std::make_unique<Kivs>(*this);
  for (const L3::VrfName &vrf : mounts_.allVrfStatusLocal->vrfStatus().keys()) handleVrf(vrf);
  for (const Pax::IntfId &intfId : mounts_.configColl->intfConfig().keys()) handleBsrIntfConfig(intfId);
}

// Of VRFs that an earlier run knew.
void RootSm::doRemoveExtraVrfs() {
  const auto exists = [this](const L3::VrfName &vrf) { return mounts_.allVrfStatusLocal->vrfStatus(vrf) != nullptr; };
  for (const L3::VrfName &vrf : mounts_.statusColl->vrfStatus().keys()) {
    if (!exists(vrf)) mounts_.statusColl->vrfStatusDel(vrf);
  }
  for (const L3::VrfName &vrf : mounts_.rpCandidateStatusColl->vrfStatus().keys()) {
    if (!exists(vrf)) mounts_.rpCandidateStatusColl->vrfStatusDel(vrf);
  }
}

void RootSm::doDistributeIntfConfig(const L3::VrfName &vrf) {
  const auto *intfs = mounts_.allIntfStatusDir->vrfIntfStatus(vrf);
  if (!intfs) return;
  for (const Pax::IntfId &intfId : (*intfs)->intfStatus().keys()) {
    if (mounts_.configColl->intfConfig(intfId)) handleBsrIntfConfig(intfId);
  }
}

std::string RootSm::reason(const L3::VrfName &vrf) const {
  const auto found = reason_.find(vrf);
  return found == reason_.end() ? std::string() : found->second;
}

void RootSm::handleVrf(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  if (const auto start = start_.find(vrf); start != start_.end() && start->second->makesMachines) {
    start->second->lookAgain = true;
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
  container.vrfIntfConfig = Kiv::make<VrfIntfConfig>(vrf.text());
  removeExtraRps(*status, *container.rpCandidateStatus);
  doDistributeIntfConfig(vrf);
}

void RootSm::handleVrfDel(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  TRACELET(trace, 4, "VRF " << vrf << " is gone");
  agent_.containerSmDel(vrf);
  agent_.containerDel(vrf);
  mounts_.statusColl->vrfStatusDel(vrf);
  mounts_.rpCandidateStatusColl->vrfStatusDel(vrf);
  reason_.erase(vrf);
}

bool RootSm::checkMounts(const L3::VrfName &vrf) {
  const std::string missing = missingMount(vrf);
  reason_[vrf] = missing;
  TRACELET(trace, 4, "( " << vrf << " ), " << (missing.empty() ? "all mounts available" : missing));
  return missing.empty();
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

void RootSm::handlePimEnabled(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  if (agent_.containerSm(vrf) || start_.contains(vrf) || !hasDefaults(vrf)) return;
  TRACELET(trace, 4, "Pim is enabled for vrf " << vrf);
  Start &start = *(start_[vrf] = std::make_unique<Start>(agent_.process_.store));
  const MountPaths &paths = agent_.paths_;
  start.mounts.mount(paths.messageCounters(vrf), start.pimCounters);
  start.mounts.mount(paths.channelStatus(vrf), start.channelStatus);
  if (af_ == Pax::AddressFamily::ipv6) {
    start.mounts.mount(paths.routeStatus(vrf), start.urib6Status);
    start.mounts.mount(paths.forwardingStatus(vrf), start.urib6Fec);
  } else {
    start.mounts.mount(paths.routeStatus(vrf), start.uribStatus);
    start.mounts.mount(paths.forwardingStatus(vrf), start.uribFec);
  }
  doKniInit(vrf, start);
  start.mounts.whenComplete([this, vrf] { handleStartMounted(vrf); });
}

// What the platform gives a VRF before PIM counts as enabled there.
bool RootSm::hasDefaults(const L3::VrfName &vrf) {
  const char *missing = !mounts_.configColl->vrfConfig(vrf)             ? "missing in Config"
                        : !mounts_.clearConfigColl->vrfClearConfig(vrf) ? "missing in ClearConfig"
                        : !mounts_.pimStatusColl->vrfStatus(vrf)        ? "missing in Pim status"
                                                                        : nullptr;
  if (!missing) return true;
  reason_[vrf] = missing;
  TRACELET(trace, 4, "( " << vrf << " ), " << missing);
  return false;
}

void RootSm::doKniInit(const L3::VrfName &vrf, Start &start) {
  const auto status = mounts_.allVrfStatusLocal->vrfStatus(vrf);
  start.mounts.mount(MountPaths::kniStatus(status->namespaceName()), start.kernelVrfIntfStatusDir);
}

void RootSm::handleStartMounted(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  const Agent::Starting starting(agent_);  // its end may be that of this machine
  Start &start = *start_.at(vrf);
  if (hasDefaults(vrf)) {
    start.makesMachines = true;
    doFill(*agent_.container(vrf), start);
    agent_.containerSmIs(vrf);
  }
  const bool lookAgain = start.lookAgain;
  start_.erase(vrf);
  if (lookAgain) handleVrf(vrf);
}

void RootSm::doFill(Container &container, const Start &start) {
  const L3::VrfName &vrf = container.vrf;
  container.uribStatus = start.uribStatus;
  container.uribFec = start.uribFec;
  container.urib6Status = start.urib6Status;
  container.urib6Fec = start.urib6Fec;
  container.af = af_;
  container.namespaceName = mounts_.allVrfStatusLocal->vrfStatus(vrf)->namespaceName();
  container.kernelIntfStatusDir = start.kernelVrfIntfStatusDir->devices();
  container.config = mounts_.configColl->vrfConfig(vrf);
  container.clearConfig = mounts_.clearConfigColl->vrfClearConfig(vrf);
  container.pimConfigColl = mounts_.pimConfigColl;
  container.vrfIpStatus = *mounts_.allIntfStatusDir->vrfIntfStatus(vrf);
  container.pimAttrLogSm = Kiv::make<PimAttrLogSm>();
  const auto groups = mounts_.groupStatusColl->vrfStatus(vrf),
             bidirGroups = mounts_.bidirGroupStatusColl->vrfStatus(vrf);
  container.rpHashStatus = groups->rpHashStatus();
  container.rpPrefixHashStatus = groups->rpPrefixHashStatus();
  container.bidirRpHashStatus = bidirGroups->rpHashStatus();
  container.bidirRpPrefixHashStatus = bidirGroups->rpPrefixHashStatus();
  container.groupMrtStatus = groups;
  container.bidirGroupMrtStatus = bidirGroups;
  container.pimStatus = *mounts_.pimStatusColl->vrfStatus(vrf);
  container.pimCounters = start.pimCounters;
  container.mfibConfig = mounts_.mfibConfig;
  container.mribStatus = mounts_.mribStatusColl->vrfStatus(vrf);
  container.mcastBoundaryStatus = mounts_.mcastBoundaryStatus;
  container.allIntfStatusDir = mounts_.allIntfStatusDir;
  container.allIntfStatusLocalDir = mounts_.allIntfStatusLocalDir;
  container.ipAclConfig = mounts_.aclConfig;
  container.rpConfig = mounts_.rpConfigColl->vrfConfig(vrf);
  container.bidirRpConfig = mounts_.bidirRpConfigColl->vrfConfig(vrf);
  container.hitlessClientVrfStatus = agent_.hitlessClientVrfStatus_;
  container.hitlessClientShutdownStatus = agent_.hitlessClientShutdownStatus_;
  container.configColl = mounts_.configColl;
  container.packetPort = start.channelStatus->port();
}

void RootSm::handlePimDisabled(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  TRACELET(trace, 4, "Pim is disabled for vrf " << vrf);
  start_.erase(vrf);
  agent_.containerSmDel(vrf);
}

void RootSm::handleVrfIntfStatus(const L3::VrfName &vrf) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << vrf << " )");
  if (agent_.container(vrf)) doDistributeIntfConfig(vrf);
  handleVrf(vrf);
}

void RootSm::handleBsrIntfConfig(const Pax::IntfId &intfId) {
  TRACELET(trace, 9, __PRETTY_FUNCTION__ << " ( " << intfId << " )");
  if (const Kiv::Ptr<const IntfConfig> config = mounts_.configColl->intfConfig(intfId)) {
    const L3::VrfName vrf(intfId.vrf());
    const auto *intfs = mounts_.allIntfStatusDir->vrfIntfStatus(vrf);
    Container *container = agent_.container(vrf);
    if (!container || !intfs || !(*intfs)->intfStatus(intfId)) return;
    TRACELET(trace, 4, "Adding Bsr intf config " << intfId << " to vrf " << vrf);
    container->vrfIntfConfig->intfConfigIs(intfId, config);
    return;
  }
  for (const auto &[vrf, container] : agent_.containerColl()) {
    if (!container->vrfIntfConfig->intfConfig(intfId)) continue;
    TRACELET(trace, 4, "Deleting Bsr intf config " << intfId << " from vrf " << vrf);
    container->vrfIntfConfig->intfConfigDel(intfId);
  }
}

void RootSm::handleHitlessCompletedVrf() {
  TRACELET(trace, 9, __PRETTY_FUNCTION__);
  const auto &completed = agent_.hitlessClientVrfStatus_->completedVrf();
  if (completed.empty()) {
    TRACELET(trace, 4, __func__ << "(), No VRFs have completed.");
    return;
  }
  for (const auto &[vrf, running] : agent_.containerSm()) {
    if (completed.contains(vrf)) continue;
    TRACELET(trace, 4, __func__ << "(), in progress for VRF " << vrf);
    return;
  }
  TRACELET(trace, 4, __func__ << "(), completed for all VRFs");
  agent_.doShutdownStageComplete();
}

}  // namespace Routing::Pim::Bsr
