/// A timer that calls a member function of its owner when it fires: the way to make a timer.
///
///   void handleHoldTimerExpiry();
///   Orb::TimerFor<&Machine::handleHoldTimerExpiry> holdTimer_{wheel, *this};
#pragma once

#include "platform/orb/TimerWheel.h"

namespace Orb {

template <auto handler>
class TimerFor;

/// A member of its owner, so it goes with it. It is disarmed when the handler is called. The handler may destroy
/// the owner and the timer with it, and must not touch either afterwards.
template <class Owner, void (Owner::*handler)()>
class TimerFor<handler> final : public Timer {
 public:
  TimerFor(const Kiv::Ptr<TimerWheel> &wheel, Owner &owner) : Timer(wheel), owner_(owner) {}

 private:
  void onTime() override { (owner_.*handler)(); }

  Owner &owner_;
};

}  // namespace Orb
