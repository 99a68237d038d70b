/// One-shot timers on a hierarchical wheel.
///
/// The wheel sorts timers into slots of one tick. A slot of the next level covers as many ticks as a level has
/// slots, and is dealt out to the levels below when its time comes. The windows are aligned: level l holds the
/// timers whose tick differs from the current one within the bits of that level and agrees above them, so every
/// timer of a level fires before those of the next. Arming, moving and disarming are O(1), and allocate only for the
/// blocks of slots by which the wheel grows, and beyond the horizon. A timer that is moved to a later time, as
/// most are, stays in its slot until the wheel gets there. Firing times are exact (a tick is only the unit of sorting),
/// and timers of one instant fire in the order in which they were armed.
///
/// As long as there are only a few timers they stand in a list instead, and the wheel has no slots: see FewTimers. With
/// one too many all move to slots for good.
///
/// A wheel has no thread: it tells its Waker when it next needs to run, and whoever owns the loop calls run()
/// then. That is the time of the next timer, or earlier the start of a slot that has to be dealt out; a timer
/// that was moved or disarmed may leave one idle run behind. A wheel without timers asks for nothing.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/kiv/Ptr.h"
#include "platform/orb/Clock.h"
#include "platform/orb/FewTimers.h"
#include "platform/orb/Footprint.h"

namespace Orb {

class TimerWheel;

/// A one-shot timer, a member of its owner; platform/orb/TimerFor.h makes one that calls a function of the
/// owner. It is disarmed before it fires, so onTime() may arm it anew or destroy it. Once destroyed it never
/// fires, even if it was due. It keeps its wheel alive.
class Timer {
 public:
  explicit Timer(const Kiv::Ptr<TimerWheel> &wheel);
  virtual ~Timer();
  Timer(const Timer &) = delete;
  Timer &operator=(const Timer &) = delete;

  /// Arms for an absolute time of the wheel's clock; an equal time too puts it behind the others of that time.
  /// Zero and `never` disarm. A time that has passed fires on the next run of the wheel, never inside this call.
  void timeMinIs(double time);
  /// The time it was last set to; `never` after it has fired.
  double timeMin() const { return time_; }
  bool armed() const { return waits() || due_ != nowhere; }
  /// What onTime() will look at, for a Waker of many wheels; must last as long as the Waker. Null, as at first, if
  /// nobody knows.
  void footprintIs(const Footprint *footprint) { footprint_ = footprint; }
  const Footprint *footprint() const { return footprint_; }

 protected:
  virtual void onTime() = 0;

 private:
  friend class TimerWheel;
  friend class FewTimers;
  static constexpr uint32_t nowhere = ~uint32_t{0};
  bool waits() const { return slot_ != nullptr || few_ != nowhere; }

  Kiv::Ptr<TimerWheel> wheel_;
  double time_ = never;
  uint64_t sequence_ = 0;   // order of arming
  Timer **slot_ = nullptr;  // the slot's tail pointer; the slot is a ring, and not later than the time
  Timer *previous_ = nullptr;
  Timer *next_ = nullptr;
  uint32_t due_ = nowhere;  // place among the timers being fired
  uint32_t few_ = nowhere;  // place among the few; then it has no slot
  const Footprint *footprint_ = nullptr;
};

/// Whoever owns the loop and runs the wheels: the event loop on Linux, virtual time in a simulation.
class Waker {
 public:
  /// What a Waker keeps with a wheel.
  struct State {
    virtual ~State() = default;
  };
  virtual ~Waker() = default;
  /// Asks for wheel.run() at `time`, or as soon as possible if that has passed, but never inside this call. The
  /// next request of the same wheel replaces this one; `never` cancels it.
  virtual void wakeAt(TimerWheel &wheel, double time) = 0;
  /// Whether other things have waited long enough for what now runs, so that a wheel leaves the rest of its timers to
  /// its next run. Never where time stands still meanwhile.
  virtual bool turnIsLong() const { return false; }
};

/// Each part that stops as a whole (a VRF's machines, the Hello speaker, the program) has a wheel of its own.
class TimerWheel : public Kiv::Counted {
 public:
  struct Parameters {
    uint32_t ticksPerSecond = 100;
    uint32_t horizon = 108200;      ///< seconds; levels for timers beyond it are made when they are needed
    uint32_t ticksPerSlot = 1;      ///< of the lowest level
    uint32_t slotsPerLevel = 1024;  ///< a power of two
    uint32_t few = 64;              ///< timers that need no slots
  };

  /// The clock and the waker must outlive the wheel, which lives until the last of its timers is destroyed.
  TimerWheel(const Clock &clock, Waker &waker, const Parameters &parameters);
  TimerWheel(const Clock &clock, Waker &waker) : TimerWheel(clock, waker, Parameters()) {}
  ~TimerWheel() override { ask(never); }

  double now() const { return clock_.now(); }
  const Parameters &parameters() const { return parameters_; }
  /// For the Waker: null until it puts something there, which then lasts as long as the wheel.
  std::unique_ptr<Waker::State> &wakerState() { return wakerState_; }
  /// For a Waker of many wheels: what the next run looks at first, as far as it is known.
  const FewTimers &fewTimers() const { return few_; }
  /// What arming, moving and firing a timer look at, but for the timer.
  void noteFootprint(Footprint &footprint) const { footprint.add(this, &levels_); }
  /// Fires every timer that is due, unless the Waker finds that it takes too long: then the rest fires in the next
  /// runs, in the same order, and what becomes due meanwhile after it. Asks the Waker for the next run. A timer that is
  /// armed by a callback waits for that run, even if it is due already. Does nothing inside a callback.
  void run();

 private:
  friend class Timer;
  /// The tail of each ring. A wheel with few timers has few of its blocks in memory, since an empty one serves again
  /// where it is needed next.
  using Block = std::array<Timer *, 64>;
  struct Level {
    explicit Level(uint32_t slots) : block((slots + 63) / 64), used(block.size()) {}
    Timer *&slot(uint32_t index) { return (*block[index / 64])[index % 64]; }
    std::vector<std::unique_ptr<Block>> block;  // null where no slot is used
    std::vector<uint64_t> used;                 // a bit per slot, set for every slot that is not empty
  };
  struct Place {
    unsigned level;
    int64_t start;  // first tick of the slot, or beyondAll
  };
  static constexpr int64_t beyondAll = int64_t{1} << 62;

  int64_t tickOf(double time) const;
  /// The earliest time whose tick is `tick`.
  double startOf(int64_t tick) const;
  /// The level and the slot in it to which the tick belongs, as seen from the current tick.
  unsigned levelOf(int64_t tick) const;
  uint32_t indexOf(int64_t tick, unsigned level) const;
  void arm(Timer &timer);
  void disarm(Timer &timer);
  /// Puts it among the few, or into its slot.
  void place(Timer &timer);
  void slotIs(Timer &timer);
  /// There are no longer few timers: makes the levels, and gives each timer its slot.
  void makeLevels();
  /// Moves a timer that was postponed, and still is in the slot of `tick`, to its own slot. False if it belongs
  /// where it is.
  bool dealOn(Timer &timer, int64_t tick);
  void unlink(Timer &timer);
  /// The first slot from the current tick on that holds timers.
  Place nextSlot();
  /// The first slot of the level from `index` on that holds timers, or slotsPerLevel.
  uint32_t firstUsed(Level &level, uint32_t index);
  Timer *&slotFor(Level &level, uint32_t index);
  void spareIs(std::unique_ptr<Block> block);
  static constexpr size_t spareMost = 4;  // so that a wheel whose timers come and go allocates nothing
  void collectDue(double now);
  void collectSlot(double now);
  void cascade(const Place &place);
  void sortDue();
  void fireDue();
  double nextTime();
  void ask(double time);

  // What each run needs comes first.
  const Clock &clock_;
  Waker &waker_;
  std::unique_ptr<Waker::State> wakerState_;
  uint32_t fired_ = 0;  // how many of those being fired have been
  bool running_ = false;
  uint64_t sequence_ = 0;
  double asked_ = never;      // of the Waker; no timer is earlier
  std::vector<Timer *> due_;  // those being fired; null where one was disarmed meanwhile
  FewTimers few_;
  std::vector<std::unique_ptr<Level>> levels_;  // none while there are few timers
  std::vector<std::unique_ptr<Block>> spare_;   // empty
  const Parameters parameters_;
  const double ticksPerSecond_;  // of slots of the lowest level
  const unsigned shift_;         // log2 of slotsPerLevel
  int64_t current_;              // every earlier slot is empty
};

}  // namespace Orb
