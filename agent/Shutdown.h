/// The hitless shutdown of an agent: asked for as a stage, complete when every VRF that runs is ready.
#pragma once

#include <functional>
#include <map>
#include <memory>

#include "platform/kiv/ReactorOf.h"
#include "platform/orb/TimerFor.h"
#include "platform/system/Hitless.h"

namespace Routing::Pim::Bsr {

class ContainerSm;

/// Part of the agent. Each VRF that runs has a HitlessSm, which starts with shutdownStatus() and adds the VRF to
/// vrfStatus(). There is no way back while the process lives: a VRF that starts later, or again, gets ready as well.
class Shutdown {
 public:
  using ContainerSms = std::map<L3::VrfName, std::unique_ptr<ContainerSm>>;

  /// `running` are the agent's VRFs that run; `complete` reports the stage complete, and may end the agent.
  Shutdown(const ContainerSms &running, const Kiv::Ptr<Orb::TimerWheel> &wheel, std::function<void()> complete);

  const Kiv::Ptr<McastCommon::HitlessShutdownStatus> &shutdownStatus() const { return shutdownStatus_; }
  const Kiv::Ptr<McastCommon::HitlessVrfStatus> &vrfStatus() const { return vrfStatus_; }
  bool begun() const { return shutdownStatus_->shutdown(); }

  /// The system asks for the shutdown, perhaps not for the first time.
  void begin();
  /// The VRF runs no more, so it is not ready either should it come back.
  void vrfStopped(const L3::VrfName &vrf);
  /// Reports the shutdown complete if it has begun and every VRF that runs is ready. Where none runs, it is complete
  /// with the next turn of the loop, if none runs then: one may be about to start.
  void evaluate();

 private:
  class KivShutdownStatus : public Kiv::ReactorOf<McastCommon::HitlessShutdownStatus, Shutdown> {
   public:
    using ReactorOf::ReactorOf;
    void onShutdown() override { owner_.evaluate(); }
  };

  void handleNoVrf();

  const ContainerSms &running_;
  Orb::TimerWheel &timerWheel_;
  const std::function<void()> complete_;
  const Kiv::Ptr<McastCommon::HitlessVrfStatus> vrfStatus_;
  const Kiv::Ptr<McastCommon::HitlessShutdownStatus> shutdownStatus_;
  Orb::TimerFor<&Shutdown::handleNoVrf> noVrfTimer_;
  KivShutdownStatus kivShutdownStatus_;
};

}  // namespace Routing::Pim::Bsr
