#include "agent/ContainerSm.h"

#include "config/ConfigSm.h"
#include "engine/PimBsrSm.h"
#include "io/BootstrapMessageSm.h"
#include "io/CrpMessageSm.h"
#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::Agent");
}

ContainerSm::ContainerSm(const Container &container) : container_(container) { handleInitialized(); }

ContainerSm::~ContainerSm() = default;

void ContainerSm::handleInitialized() {
  TRACELET(trace, 4, "<Vrf:" << container_.vrf << ">Initializing ContainerSm");
  sourceIntfDir_ = Kiv::make<Ip::SourceIntfDir>("sourceIntfDir");
  sourceIntfSm_ = std::make_unique<Ip::SourceIntfSm>(sourceIntfDir_, container_.allIntfStatusDir);
  const Kiv::Ptr<Status> &status = container_.status;
  status->afIs(container_.af);
  container_.rpCandidateStatus->rpSetTypeIs(rpSetTypeBsr);
  pimPamManager_ = Kiv::make<IO::PamManager>(container_.packetPort, IO::PamManager::Parameters{});
  rxBootstrapMsgInfo_ = pimPamManager_->messageInfoIs(Packet::MessageType::bootstrap);
  rxCrpAdvMsgInfo_ = pimPamManager_->messageInfoIs(Packet::MessageType::crpAdv);
  status->countersIs("BsrCounters");
  rpfTable_ = Kiv::make<PimRpfTable>(container_.routes, container_.pimStatus);
  pimBsmStatus_ = Kiv::make<PimBsmStatus>("pimBsmStatus");
  pimCrpMsgStatus_ = Kiv::make<PimCrpMsgStatus>("pimCrpMsgStatus");
  timerWheel_ = Kiv::make<Orb::TimerWheel>(*container_.clock, *container_.waker, Orb::TimerWheel::Parameters());
  configSm_ = std::make_unique<ConfigSm>(container_.config, container_.vrfIntfConfig, container_.clearConfig, status,
                                         container_.pimCounters, sourceIntfSm_.get(), container_.ipAclConfig);
  rpHashSm_ = std::make_unique<RpHashSm>(container_.rpCandidateStatus, Mode::sparse);
  bidirRpHashSm_ = std::make_unique<RpHashSm>(container_.rpCandidateStatus, Mode::bidir);
  bsrSm_ =
      Kiv::make<PimBsrSm>(status, container_.pimStatus, pimBsmStatus_, pimCrpMsgStatus_, container_.rpCandidateStatus,
                          timerWheel_, container_.allIntfStatusDir, *container_.random);
  bsrIOSm_ = std::make_unique<BootstrapMessageSm>(pimPamManager_, status, pimBsmStatus_, rxBootstrapMsgInfo_, rpfTable_,
                                                  *container_.clock);
  crpIOSm_ =
      std::make_unique<CrpMessageSm>(pimPamManager_, status, pimCrpMsgStatus_, rxCrpAdvMsgInfo_, container_.routes);
  initialized_ = true;
}

}  // namespace Routing::Pim::Bsr
