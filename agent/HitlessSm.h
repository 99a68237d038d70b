/// Gets one VRF ready for a hitless shutdown. Part of its ContainerSm.
#pragma once

#include "model/Config.h"
#include "model/Status.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/orb/TimerFor.h"
#include "platform/system/Hitless.h"

namespace Routing::Pim::Bsr {

/// When the shutdown is requested, every candidate RP of this router gets a longer interval in Status.crp. Its
/// advertiser tells the BSRs at once, so that they keep our RPs while the agent is away. A little later, when those
/// advertisements have arrived, the VRF is recorded as completed in the VRF status. There is no way back: the intervals
/// stay until the process ends or their configuration changes.
class HitlessSm {
 public:
  /// Without a shutdown status (null) the machine does nothing. The configuration is not looked at: the status has
  /// the intervals.
  HitlessSm(const Kiv::Ptr<const Config> &config, const Kiv::Ptr<Status> &status,
            const Kiv::Ptr<Orb::TimerWheel> &timerWheel,
            const Kiv::Ptr<const McastCommon::HitlessShutdownStatus> &shutdownStatus,
            const Kiv::Ptr<McastCommon::HitlessVrfStatus> &vrfStatus, const L3::VrfName &vrf);

  /// Seconds between advertisements from then on.
  uint32_t hitlessCrpInterval() const { return hitlessCrpInterval_.number(); }
  void hitlessCrpIntervalIs(const CrpAdvInterval &interval) { hitlessCrpInterval_ = interval; }
  /// Seconds until the VRF is recorded as completed.
  double hitlessNotifyDelay() const { return hitlessNotifyDelay_; }
  void hitlessNotifyDelayIs(double delay) { hitlessNotifyDelay_ = delay; }
  const Orb::Timer &hitlessTimer() const { return hitlessTimer_; }
  bool initialized() const { return initialized_; }

 private:
  class KivShutdownStatus : public Kiv::ReactorOf<McastCommon::HitlessShutdownStatus, HitlessSm> {
    using ReactorOf::ReactorOf;
    void onShutdown() override { owner_.doHitlessShutdown(); }
  };

  const std::string &vrfName() const { return vrf_.text(); }
  void handleInitialized();
  void doHitlessShutdown();
  void handleHitlessTimerExpiry();

  const Kiv::Ptr<Status> status_;
  const Orb::TimerWheel &timerWheel_;
  const Kiv::Ptr<const McastCommon::HitlessShutdownStatus> shutdownStatus_;
  const Kiv::Ptr<McastCommon::HitlessVrfStatus> vrfStatus_;
  const L3::VrfName vrf_;
  CrpAdvInterval hitlessCrpInterval_ = 120;
  double hitlessNotifyDelay_ = 5.0;
  bool initialized_ = false;
  Orb::TimerFor<&HitlessSm::handleHitlessTimerExpiry> hitlessTimer_;
  KivShutdownStatus kivShutdownStatus_;
};

}  // namespace Routing::Pim::Bsr
