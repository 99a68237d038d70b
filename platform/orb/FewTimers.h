/// The armed timers of a wheel that has only a few of them, as most have: a plain list, which takes a few cache lines
/// where the slots of a wheel would take hundreds.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace Orb {

class Timer;

/// A member of its TimerWheel. A timer that is moved to a later time keeps its entry until that is looked at, as it
/// keeps its slot in the wheel.
class FewTimers {
 public:
  explicit FewTimers(uint32_t most) : most_(most) {}

  /// False if there are too many.
  bool add(Timer &timer);
  void remove(Timer &timer);
  /// Moves those whose time has come to the end of `due`, in any order.
  void takeDue(double now, std::vector<Timer *> &due);
  /// The time of the next timer; `never` if there is none.
  double nextTime();
  /// What the next run will look at: the list, and the timer that nextTime() found if it still stands there, or null.
  const void *list() const { return entry_.data(); }
  const Timer *next() const { return next_; }
  /// Takes all of them out, and the memory with them.
  std::vector<Timer *> takeAll();

 private:
  struct Entry {
    double time;  // not later than the timer's
    Timer *timer;
  };
  std::vector<Entry> entry_;
  const Timer *next_ = nullptr;
  const uint32_t most_;
};

}  // namespace Orb
