#include "agent/ContainerSm.h"

#include "agent/IntfConfigFill.h"
#include "config/ConfigSm.h"
#include "engine/BsmReassembly.h"
#include "engine/PimBsrSm.h"
#include "io/BootstrapMessageSm.h"
#include "io/CrpMessageSm.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Agent");

ContainerSm::ContainerSm(Container &container) : container_(container), kivIpStatus_(*this, container.vrfIpStatus) {
  handleInitialized();
}

ContainerSm::~ContainerSm() { handleDestruction(); }

void ContainerSm::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  VRF_TRACE(trace, 4, "Initializing ContainerSm");
  intfConfigFill().all();
  const Kiv::Ptr<const Ip::AllIntfStatusDir> &vrfIpStatus = container_.vrfIpStatus;
  sourceIntfDir_ = Kiv::make<Ip::SourceIntfDir>("sourceIntfDir");
  sourceIntfSm_ = std::make_unique<Ip::SourceIntfSm>(sourceIntfDir_, vrfIpStatus);
  const Kiv::Ptr<Status> &status = container_.status;
  status->afIs(container_.af);
  container_.rpCandidateStatus->rpSetTypeIs(rpSetTypeBsr);
  doPimPamManagerIs();
  status->countersIs("BsrCounters");
  doRpfTableIs();
  pimBsmStatus_ = Kiv::make<PimBsmStatus>("pimBsmStatus");
  pimCrpMsgStatus_ = Kiv::make<PimCrpMsgStatus>("pimCrpMsgStatus");
  timerWheel_ = Kiv::make<Orb::TimerWheel>(*container_.clock, *container_.waker, Orb::TimerWheel::Parameters());
  configSm_ = std::make_unique<ConfigSm>(container_.config, container_.vrfIntfConfig, container_.clearConfig, status,
                                         container_.pimCounters, sourceIntfSm_.get(), container_.ipAclConfig);
  rpHashSm_ = std::make_unique<RpHashSm>(container_.rpCandidateStatus, Mode::sparse);
  if (container_.bidirRpHashStatus) {
    bidirRpHashSm_ = std::make_unique<RpHashSm>(container_.rpCandidateStatus, Mode::bidir);
  }
  bsrSm_ = Kiv::make<PimBsrSm>(status, container_.pimStatus, pimBsmStatus_, pimCrpMsgStatus_,
                               container_.rpCandidateStatus, timerWheel_, vrfIpStatus, *container_.random);
  container_.packetPort->bootstrapAdmissionIs(&bsrSm_->reassembly());
  bsrIOSm_ = std::make_unique<BootstrapMessageSm>(pimPamManager_, status, pimBsmStatus_, rxBootstrapMsgInfo_, rpfTable_,
                                                  *container_.clock);
  crpIOSm_ = std::make_unique<CrpMessageSm>(pimPamManager_, status, pimCrpMsgStatus_, rxCrpAdvMsgInfo_,
                                            unicastRoutingStatus_->routes());
  ipGenIntfSm_ = Kiv::make<Ip::IpGenIntfSm>();
  pimIOSm_ = Kiv::make<IO::PimIOSm>();
  hitlessSm_ =
      std::make_unique<HitlessSm>(container_.config, status, timerWheel_, container_.hitlessClientShutdownStatus,
                                  container_.hitlessClientVrfStatus, container_.vrf);
  initialized_ = true;
}

void ContainerSm::doPimPamManagerIs() {
  pimPamManager_ = Kiv::make<IO::PamManager>(container_.packetPort, IO::PamManager::Parameters{});
  rxBootstrapMsgInfo_ = pimPamManager_->messageInfoIs(Packet::MessageType::bootstrap);
  rxCrpAdvMsgInfo_ = pimPamManager_->messageInfoIs(Packet::MessageType::crpAdv);
}

void ContainerSm::doRpfTableIs() {
  const bool ipv6 = container_.af == Pax::AddressFamily::ipv6;
  if (ipv6) {
    urib6RouteShadowSm_ = Kiv::make<UribRouteShadowSm>("PimBsr6Urib", container_.urib6Status);
  } else {
    uribRouteShadowSm_ = Kiv::make<UribRouteShadowSm>("PimBsrUrib", container_.uribStatus);
  }
  mribTrieBuilder_ = Kiv::make<MribTrieBuilder>("PimBsrMrib", container_.mribStatus);
  unicastRoutingStatus_ =
      Kiv::make<UnicastRoutingStatus>(ipv6 ? urib6RouteShadowSm_ : uribRouteShadowSm_, mribTrieBuilder_);
  rpfTable_ = Kiv::make<PimRpfTable>(unicastRoutingStatus_->routes(), container_.pimStatus);
}

// What remains goes with the members, the last one first.
void ContainerSm::handleDestruction() {
  VRF_TRACE_ENTRY(trace);
  kivIpStatus_.notifierIs(nullptr);
  container_.packetPort->bootstrapAdmissionIs(nullptr);
}

// An interface came into this VRF, or left it.
void ContainerSm::handleIntfVrfChange(const Pax::IntfId &intfId) {
  VRF_TRACE_ENTRY(trace);
  intfConfigFill().one(intfId);
}

IntfConfigFill ContainerSm::intfConfigFill() const {
  using Step = IntfConfigFill::Step;
  return {container_, container_.vrfIpStatus.get(), [this](Step step, const Pax::IntfId &intfId) {
            const L3::VrfName &vrf = container_.vrf;
            switch (step) {
              case Step::add: VRF_TRACE(trace, 4, "Adding Bsr Intf config(" << intfId << ") to vrf" << vrf); break;
              case Step::remove:
                VRF_TRACE(trace, 4, "Removing Bsr Intf config(" << intfId << ") from vrf" << vrf);
                break;
              case Step::missing: VRF_TRACE(trace, 4, "Bsr Intf config(" << intfId << ") missing in vrf" << vrf); break;
            }
          }};
}

}  // namespace Routing::Pim::Bsr
