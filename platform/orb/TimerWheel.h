/// One-shot timers on a hierarchical wheel.
///
/// The wheel sorts timers into slots of one tick; a slot of the next level holds as many ticks as
/// a level has slots, and is dealt out to the level below when its time comes. Arming, moving and
/// disarming are O(1) and allocate nothing. Firing times are exact (a tick is only the unit of
/// sorting), and timers of one instant fire in the order in which they were armed.
///
/// A wheel has no thread: it tells its Waker when it next wants to run, and whoever owns the loop
/// calls run() then.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/kiv/Ptr.h"
#include "platform/orb/Clock.h"

namespace Orb {

class TimerWheel;

/// A timer is a member of its owner, which derives a class with onTime() from it. It is one-shot:
/// when it fires it is disarmed first. Destroyed, it never fires, even if it was due.
class Timer {
 public:
  explicit Timer(const Kiv::Ptr<TimerWheel> &wheel);
  virtual ~Timer();
  Timer(const Timer &) = delete;
  Timer &operator=(const Timer &) = delete;

  /// Arms for an absolute time, always anew; zero and `never` disarm. A time that has passed
  /// fires on the next run of the wheel, never inside this call.
  void timeMinIs(double time);
  double timeMin() const { return time_; }
  bool armed() const { return slot_ != nullptr || due_ != notDue; }

 protected:
  virtual void onTime() = 0;

 private:
  friend class TimerWheel;
  static constexpr uint32_t notDue = ~uint32_t{0};

  Kiv::Ptr<TimerWheel> wheel_;
  double time_ = never;
  uint64_t sequence_ = 0;     // order of arming
  Timer **slot_ = nullptr;    // the slot's tail pointer; the slot is a ring
  Timer *previous_ = nullptr;
  Timer *next_ = nullptr;
  uint32_t due_ = notDue;     // place among the timers being fired
};

/// Asked to call wheel.run() at `time`, or as soon as possible if that has passed. A later request
/// replaces an earlier one of the same wheel; `never` cancels it.
class Waker {
 public:
  virtual ~Waker() = default;
  virtual void wakeAt(TimerWheel &wheel, double time) = 0;
};

class TimerWheel : public Kiv::Counted {
 public:
  struct Parameters {
    uint32_t ticksPerSecond = 100;
    uint32_t horizon = 108200;  ///< seconds that the levels made at once span; further ones are made on demand
    uint32_t leastTicks = 1;    ///< a tick at least passes between two runs for one instant's timers
    uint32_t slots = 1024;      ///< per level, a power of two
  };

  TimerWheel(const Clock &clock, Waker &waker, const Parameters &parameters);
  TimerWheel(const Clock &clock, Waker &waker) : TimerWheel(clock, waker, Parameters()) {}
  ~TimerWheel() override;

  double now() const { return clock_.now(); }
  /// Fires every timer that is due, then asks the Waker for the next run.
  void run();
  size_t size() const { return armed_; }

 private:
  friend class Timer;
  struct Level {
    explicit Level(uint32_t slots) : slot(slots), used((slots + 63) / 64) {}
    std::vector<Timer *> slot;     // tail of each ring
    std::vector<uint64_t> used;    // a bit per slot that is not empty
  };
  static constexpr unsigned levels = 6;

  int64_t tickOf(double time) const;
  void arm(Timer &timer);
  void disarm(Timer &timer);
  void place(Timer &timer);
  void unlink(Timer &timer);
  void append(unsigned level, uint32_t index, Timer &timer);
  /// The first used slot from `index` on, or `slots`.
  uint32_t firstUsed(unsigned level, uint32_t index) const;
  uint32_t indexAt(unsigned level) const;
  /// Start of the next used slot above level 0, or a tick beyond any.
  int64_t nextBoundary() const;
  void collectDue(double now);
  void collectSlot(double now);
  void cascade();
  void fireDue();
  double nextTime() const;

  const Clock &clock_;
  Waker &waker_;
  const Parameters parameters_;
  const unsigned shift_;  // log2 of the slots
  std::array<std::unique_ptr<Level>, levels> level_;
  std::vector<Timer *> due_;
  int64_t current_;       // tick up to which slots have been emptied
  uint64_t sequence_ = 0;
  size_t armed_ = 0;
  double asked_ = never;  // what the Waker was asked for last
  bool running_ = false;
};

}  // namespace Orb
