#include "agent/HitlessSm.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::HitlessSm");

HitlessSm::HitlessSm(const Kiv::Ptr<const Config> &, const Kiv::Ptr<Status> &status,
                     const Kiv::Ptr<Orb::TimerWheel> &timerWheel,
                     const Kiv::Ptr<const McastCommon::HitlessShutdownStatus> &shutdownStatus,
                     const Kiv::Ptr<McastCommon::HitlessVrfStatus> &vrfStatus, const L3::VrfName &vrf)
    : status_(status),
      timerWheel_(*timerWheel),
      shutdownStatus_(shutdownStatus),
      vrfStatus_(vrfStatus),
      vrf_(vrf),
      hitlessTimer_(timerWheel, *this),
      kivShutdownStatus_(*this, shutdownStatus) {
  handleInitialized();
}

void HitlessSm::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  doHitlessShutdown();
  initialized_ = true;
}

void HitlessSm::doHitlessShutdown() {
  if (!shutdownStatus_ || !shutdownStatus_->shutdown()) return;
  for (const auto &[address, crp] : status_->crp()) crp->intervalIs(hitlessCrpInterval_);
  VRF_TRACE(trace, 5, __func__ << "(), Starting the HITLESS notification timer");
  hitlessTimer_.timeMinIs(timerWheel_.now() + hitlessNotifyDelay_);
}

void HitlessSm::handleHitlessTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  hitlessTimer_.timeMinIs(Orb::never);
  vrfStatus_->completedVrfIs(vrf_);
}

}  // namespace Routing::Pim::Bsr
