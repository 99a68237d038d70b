/// The state machines of one running VRF.
#pragma once

#include <memory>

#include "agent/Container.h"
#include "model/InternalStatus.h"
#include "platform/ip/SourceIntf.h"
#include "platform/pim/MessageInfo.h"
#include "platform/pim/PimRpfTable.h"
#include "platform/pim/RpHash.h"

namespace Routing::Pim::Bsr {

class BootstrapMessageSm;
class ConfigSm;
class CrpMessageSm;
class PimBsrSm;

/// Creates the VRF's machines in the order in which each finds what it needs, and destroys them in
/// exact reverse. It writes no status when it goes: the status stays for the next one.
class ContainerSm {
 public:
  explicit ContainerSm(const Container &container);
  ~ContainerSm();
  ContainerSm(const ContainerSm &) = delete;
  ContainerSm &operator=(const ContainerSm &) = delete;

  const Container &container() const { return container_; }
  const ConfigSm &configSm() const { return *configSm_; }
  const RpHashSm &rpHashSm() const { return *rpHashSm_; }
  const RpHashSm &bidirRpHashSm() const { return *bidirRpHashSm_; }
  PimBsrSm &bsrSm() const { return *bsrSm_; }
  BootstrapMessageSm &bsrIOSm() const { return *bsrIOSm_; }

 private:
  void handleInitialized();

  const Container container_;
  Kiv::Ptr<Ip::SourceIntfDir> sourceIntfDir_;
  std::unique_ptr<Ip::SourceIntfSm> sourceIntfSm_;
  Kiv::Ptr<IO::PamManager> pimPamManager_;
  Kiv::Ptr<IO::MessageInfo> rxBootstrapMsgInfo_;
  Kiv::Ptr<IO::MessageInfo> rxCrpAdvMsgInfo_;
  Kiv::Ptr<PimRpfTable> rpfTable_;
  Kiv::Ptr<PimBsmStatus> pimBsmStatus_;
  Kiv::Ptr<PimCrpMsgStatus> pimCrpMsgStatus_;
  Kiv::Ptr<Orb::TimerWheel> timerWheel_;
  std::unique_ptr<ConfigSm> configSm_;
  std::unique_ptr<RpHashSm> rpHashSm_;
  std::unique_ptr<RpHashSm> bidirRpHashSm_;
  Kiv::Ptr<PimBsrSm> bsrSm_;
  std::unique_ptr<BootstrapMessageSm> bsrIOSm_;
  std::unique_ptr<CrpMessageSm> crpIOSm_;
  bool initialized_ = false;
};

}  // namespace Routing::Pim::Bsr
