/// A timer that calls a member function of its owner.
///
///   void handleHoldTimerExpiry();
///   Orb::TimerFor<&Machine::handleHoldTimerExpiry> holdTimer_{wheel, *this};
#pragma once

#include "platform/orb/TimerWheel.h"

namespace Orb {

template <auto handler>
class TimerFor;

/// A member of its owner, and goes with it. The handler may destroy both as its last act.
template <class Owner, void (Owner::*handler)()>
class TimerFor<handler> final : public Timer {
 public:
  TimerFor(const Kiv::Ptr<TimerWheel> &wheel, Owner &owner) : Timer(wheel), owner_(owner) {}

 private:
  void onTime() override { (owner_.*handler)(); }

  Owner &owner_;
};

}  // namespace Orb
