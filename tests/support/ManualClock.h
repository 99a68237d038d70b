/// Virtual time for tests: a clock that a test moves, and the runs of the wheels on the way.
#pragma once

#include <cmath>
#include <map>

#include "platform/orb/TimerWheel.h"

namespace Test {

/// Owns the virtual now. Wheels made with it run at the times that they ask for, in order of time
/// and then of asking. Outlives its wheels.
class ManualTime : public Orb::Clock, public Orb::Waker {
 public:
  double now() const override { return now_; }

  void wakeAt(Orb::TimerWheel &wheel, double time) override {
    std::erase_if(asked_, [&](const auto &asked) { return asked.second == &wheel; });
    if (time != Orb::never) asked_.emplace(std::max(time, now_), &wheel);
  }

  bool turnIsLong() const override { return hurried; }
  /// Whether a run of a wheel takes too long as soon as that is asked.
  bool hurried = false;

  /// Runs the first wheel that is due up to `time`, with the clock at its time. False when none is.
  bool step(double time) {
    if (asked_.empty() || asked_.begin()->first > time) return false;
    const auto [at, wheel] = *asked_.begin();
    asked_.erase(asked_.begin());
    now_ = std::max(now_, at);
    ++runs_;
    wheel->run();
    return true;
  }

  /// Lets everything happen that is due up to `time`, which is then the time.
  void advanceTo(double time) {
    while (step(time)) {
    }
    now_ = std::max(now_, time);
  }

  /// Lets things happen until the predicate holds; false when the deadline came first.
  template <class Predicate>
  bool runUntil(Predicate holds, double deadline) {
    while (!holds()) {
      if (!step(deadline)) {
        now_ = std::max(now_, deadline);
        return holds();
      }
    }
    return true;
  }

  /// Whether no wheel asks for a run.
  bool idle() const { return asked_.empty(); }
  /// How often wheels have run.
  uint64_t runs() const { return runs_; }

 private:
  double now_ = 1000;
  uint64_t runs_ = 0;
  std::multimap<double, Orb::TimerWheel *> asked_;
};

}  // namespace Test
