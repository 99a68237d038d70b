/// How the reporters of a VRF tell events.
#pragma once

#include <functional>
#include <map>

#include "platform/orb/TimerFor.h"
#include "platform/orb/TokenBucket.h"
#include "view/EventLog.h"
#include "view/Sentence.h"
#include "view/VrfView.h"

namespace Routing::Pim::Bsr {

/// The way from one VRF to the log. Of each kind a burst is told, and then one event in each interval: the others are
/// counted, so that nothing that a peer repeats fills the log. Owned by the VRF's reporter.
class Reporting {
 public:
  static constexpr uint32_t burst = 100;      ///< events of one kind
  static constexpr double interval = 2;       ///< seconds, between two more
  static constexpr double skippedAfter = 10;  ///< seconds, after which those that were counted are told

  /// `settle` tells what the reporters have noted.
  Reporting(EventLog &log, const Kiv::Ptr<Orb::TimerWheel> &wheel, const L3::VrfName &vrf,
            std::function<VrfView()> view, std::function<void()> settle)
      : view(std::move(view)),
        log_(log),
        wheel_(wheel),
        vrf_(vrf),
        settle_(std::move(settle)),
        settleTimer_(wheel, *this),
        skippedTimer_(wheel, *this) {}

  double now() const { return wheel_->now(); }
  const Kiv::Ptr<Orb::TimerWheel> &wheel() const { return wheel_; }
  /// What was noted is told at the end of this turn, when all that goes with it is done.
  void settleSoon() {
    if (!settleTimer_.armed()) settleTimer_.timeMinIs(now());
  }
  /// Completes the event with the VRF, which its text begins with unless that is the default one.
  void tell(Event event);

  /// The VRF as it is now.
  const std::function<VrfView()> view;

 private:
  struct Kind {
    Orb::TokenBucket bucket{burst, interval};
    uint64_t skipped = 0;
    Severity worst = Severity::debug;
  };
  void settle() { settle_(); }
  void tellSkipped();

  EventLog &log_;
  const Kiv::Ptr<Orb::TimerWheel> wheel_;
  const L3::VrfName vrf_;
  const std::function<void()> settle_;
  std::map<EventKind, Kind> kind_;
  Orb::TimerFor<&Reporting::settle> settleTimer_;
  Orb::TimerFor<&Reporting::tellSkipped> skippedTimer_;
};

}  // namespace Routing::Pim::Bsr
