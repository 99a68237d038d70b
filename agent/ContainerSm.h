/// The state machines of one running VRF.
#pragma once

#include <memory>

#include "agent/Container.h"
#include "agent/HitlessSm.h"
#include "model/InternalStatus.h"
#include "platform/ip/SourceIntf.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/pim/MessageInfo.h"
#include "platform/pim/PimRpfTable.h"
#include "platform/pim/RpHash.h"
#include "platform/routing/UnicastRouting.h"

namespace Routing::Pim::Bsr {

class BootstrapMessageSm;
class ConfigSm;
class CrpMessageSm;
class IntfConfigFill;
class PimBsrSm;

/// Creates the VRF's machines in the order in which each finds what it needs, and destroys them in exact reverse. The
/// agent owns it while the VRF runs. It writes no status and sends nothing when it goes: the status stays for the next
/// one. What the machines do is theirs; here is only how they are put together.
class ContainerSm {
 public:
  /// The container outlives this.
  explicit ContainerSm(Container &container);
  ~ContainerSm();

  const Container &container() const { return container_; }
  const ConfigSm &configSm() const { return *configSm_; }
  PimBsrSm &bsrSm() const { return *bsrSm_; }
  BootstrapMessageSm &bsrIOSm() const { return *bsrIOSm_; }
  const RpHashSm &rpHashSm() const { return *rpHashSm_; }
  /// Null in a VRF without bidirectional RP hash status.
  const RpHashSm *bidirRpHashSm() const { return bidirRpHashSm_.get(); }
  /// Where routes are looked up, under the name of the family.
  const UribRouteShadowSm &uribRouteShadowSm() const {
    return uribRouteShadowSm_ ? *uribRouteShadowSm_ : *urib6RouteShadowSm_;
  }
  const MribTrieBuilder &mribTrieBuilder() const { return *mribTrieBuilder_; }
  const Orb::TimerWheel &timerWheel() const { return *timerWheel_; }
  bool initialized() const { return initialized_; }

 private:
  class KivIpStatus : public Kiv::ReactorOf<Ip::AllIntfStatusDir, ContainerSm> {
    using ReactorOf::ReactorOf;
    void onIntfStatus(const Pax::IntfId &intfId) override { owner_.handleIntfVrfChange(intfId); }
  };

  const std::string &vrfName() const { return container_.vrf.text(); }
  void handleInitialized();
  void handleDestruction();
  void handleIntfVrfChange(const Pax::IntfId &intfId);
  IntfConfigFill intfConfigFill() const;
  void doPimPamManagerIs();
  void doRpfTableIs();

  Container &container_;
  KivIpStatus kivIpStatus_;
  Kiv::Ptr<Ip::SourceIntfDir> sourceIntfDir_;
  std::unique_ptr<Ip::SourceIntfSm> sourceIntfSm_;
  Kiv::Ptr<IO::PamManager> pimPamManager_;
  Kiv::Ptr<IO::MessageInfo> rxBootstrapMsgInfo_;
  Kiv::Ptr<IO::MessageInfo> rxCrpAdvMsgInfo_;
  Kiv::Ptr<UribRouteShadowSm> uribRouteShadowSm_;   // null for IPv6
  Kiv::Ptr<UribRouteShadowSm> urib6RouteShadowSm_;  // null for IPv4
  Kiv::Ptr<MribTrieBuilder> mribTrieBuilder_;
  Kiv::Ptr<UnicastRoutingStatus> unicastRoutingStatus_;
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
  Kiv::Ptr<Ip::IpGenIntfSm> ipGenIntfSm_;
  Kiv::Ptr<IO::PimIOSm> pimIOSm_;
  std::unique_ptr<HitlessSm> hitlessSm_;
  bool initialized_ = false;
};

}  // namespace Routing::Pim::Bsr
