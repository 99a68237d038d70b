/// One-shot timers on a hierarchical wheel.
///
/// The wheel sorts timers into slots of a tick; a slot of the next level holds as many ticks as a
/// level has slots, and is dealt out to the levels below when its time comes. The windows are
/// aligned: level l holds the timers whose tick differs from the current one within the bits of
/// that level and agrees above them, so every timer of a level fires before those of the next.
/// Arming, moving and disarming are O(1) and allocate nothing up to the horizon. A timer that is
/// moved to a later time, as most are, stays in its slot until that is looked at. Firing times are
/// exact (a tick is only the unit of sorting), and timers of one instant fire in the order in which
/// they were armed.
///
/// A wheel has no thread: it tells its Waker when it next wants to run, and whoever owns the loop
/// calls run() then. That is the time of the next timer, or earlier the start of a slot that has to
/// be dealt out; a timer that has been moved or disarmed may leave one idle run behind. A wheel
/// without timers asks for nothing.
#pragma once

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
  uint64_t sequence_ = 0;   // order of arming
  Timer **slot_ = nullptr;  // the slot's tail pointer; the slot is a ring, and not later than the time
  Timer *previous_ = nullptr;
  Timer *next_ = nullptr;
  uint32_t due_ = notDue;  // place among the timers being fired
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
    uint32_t horizon = 108200;      ///< seconds that the levels made at once span; further ones are made on demand
    uint32_t ticksPerSlot = 1;      ///< of the lowest level
    uint32_t slotsPerLevel = 1024;  ///< a power of two
  };

  /// The clock and the waker outlive the wheel; its timers hold it.
  TimerWheel(const Clock &clock, Waker &waker, const Parameters &parameters);
  TimerWheel(const Clock &clock, Waker &waker) : TimerWheel(clock, waker, Parameters()) {}
  ~TimerWheel() override;

  double now() const { return clock_.now(); }
  const Parameters &parameters() const { return parameters_; }
  /// Fires every timer that is due, then asks the Waker for the next run. Timers that the callbacks
  /// arm wait for that, even if they are due. Does nothing inside a callback.
  void run();
  /// How many timers are armed.
  size_t size() const { return armed_; }

 private:
  friend class Timer;
  struct Level {
    explicit Level(uint32_t slots) : slot(slots), used((slots + 63) / 64) {}
    std::vector<Timer *> slot;   // tail of each ring
    std::vector<uint64_t> used;  // a bit per slot, set for every slot that is not empty
  };
  struct Place {
    unsigned level;
    int64_t start;  // first tick of the slot, or beyondAll
  };
  static constexpr int64_t beyondAll = int64_t{1} << 62;

  int64_t tickOf(double time) const;
  /// The least time whose tick is `tick`.
  double startOf(int64_t tick) const;
  unsigned levelOf(int64_t tick) const;
  uint32_t indexOf(int64_t tick, unsigned level) const;
  void arm(Timer &timer);
  void disarm(Timer &timer);
  void place(Timer &timer);
  /// Deals a postponed timer that the slot of `tick` still holds to its own slot. False if it is due there.
  bool dealOn(Timer &timer, int64_t tick);
  static void unlink(Timer &timer);
  /// The first slot from the current tick on that holds timers.
  Place nextSlot();
  /// The first slot of the level from `index` on that holds timers, or slotsPerLevel.
  static uint32_t firstUsed(Level &level, uint32_t index);
  void collectDue(double now);
  void collectSlot(double now);
  void cascade(const Place &place);
  void fireDue();
  double nextTime();
  void ask(double time);

  const Clock &clock_;
  Waker &waker_;
  const Parameters parameters_;
  const double ticksPerSecond_;  // of slots of the lowest level
  const unsigned shift_;         // log2 of slotsPerLevel
  std::vector<std::unique_ptr<Level>> levels_;
  std::vector<Timer *> due_;  // those being fired; null where one was disarmed meanwhile
  int64_t current_;           // every earlier slot is empty
  uint64_t sequence_ = 0;
  size_t armed_ = 0;
  double asked_ = never;  // of the Waker; no timer is earlier
  bool running_ = false;
};

}  // namespace Orb
