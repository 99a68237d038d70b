#include "agent/Shutdown.h"

#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Agent");

constexpr const char *where = "handleHitlessCompletedVrf";

}  // namespace

Shutdown::Shutdown(const ContainerSms &running, const Kiv::Ptr<Orb::TimerWheel> &wheel, std::function<void()> complete)
    : running_(running),
      timerWheel_(*wheel),
      complete_(std::move(complete)),
      vrfStatus_(Kiv::make<McastCommon::HitlessVrfStatus>()),
      shutdownStatus_(Kiv::make<McastCommon::HitlessShutdownStatus>()),
      noVrfTimer_(wheel, *this),
      kivShutdownStatus_(*this, shutdownStatus_) {}

void Shutdown::begin() {
  if (begun()) return evaluate();
  shutdownStatus_->shutdownIs(true);
}

void Shutdown::vrfStopped(const L3::VrfName &vrf) {
  if (!vrfStatus_->completedVrf(vrf)) return evaluate();
  vrfStatus_->completedVrfDel(vrf);  // RootSm hears of it and evaluates
}

void Shutdown::evaluate() {
  TRACELET(trace, 9, __PRETTY_FUNCTION__);
  if (!begun()) return;
  const bool noneIsReady = vrfStatus_->completedVrf().empty();
  if (noneIsReady) TRACELET(trace, 4, where << "(), No VRFs have completed.");
  if (running_.empty()) {
    TRACELET(trace, 5, "No VRF runs; the shutdown is complete with the next turn if none does then");
    return noVrfTimer_.timeMinIs(timerWheel_.now());
  }
  if (noneIsReady) return;
  for (const auto &[vrf, containerSm] : running_) {
    if (vrfStatus_->completedVrf(vrf)) continue;
    TRACELET(trace, 4, where << "(), in progress for VRF " << vrf);
    return;
  }
  TRACELET(trace, 4, where << "(), completed for all VRFs");
  complete_();
}

void Shutdown::handleNoVrf() {
  TRACELET(trace, 9, __PRETTY_FUNCTION__);
  if (!running_.empty()) return;
  TRACELET(trace, 4, "No VRF runs that the shutdown would have to wait for");
  complete_();
}

}  // namespace Routing::Pim::Bsr
