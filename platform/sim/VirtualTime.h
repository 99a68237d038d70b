/// Time that passes only when the simulation runs: the clock, the waker of every timer wheel, and the queue of
/// everything else that is to happen.
///
/// Whatever happens is an Event. Events run in order of time, those of one instant in the order in which they were
/// scheduled. An event is in the queue at most once. Nothing ever runs inside schedule(), cancel() or wakeAt().
/// Scheduling, moving and canceling cost O(log n) for n waiting events, and allocate only while the queue grows.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <unordered_map>
#include <vector>

#include "platform/orb/Clock.h"
#include "platform/orb/Footprint.h"
#include "platform/orb/TimerWheel.h"

namespace Sim {

class VirtualTime;

/// Owned by whoever schedules it. Its destruction cancels it.
class Event {
 public:
  explicit Event(VirtualTime &time);
  virtual ~Event();
  Event(const Event &) = delete;
  Event &operator=(const Event &) = delete;
  bool scheduled() const;

 protected:
  /// Runs at its time, when it is no longer scheduled; it may schedule or destroy itself.
  virtual void happen() = 0;

 private:
  friend class VirtualTime;
  VirtualTime &virtualTime_;
  const uint32_t number_;  // among the events of the simulation
};

/// One per simulation. It owns neither events nor wheels, and all of them must be gone before it goes.
class VirtualTime : public Orb::Clock, public Orb::Waker {
 public:
  static constexpr double start = 1000;  ///< seconds; status takes 0 for unset

  VirtualTime();
  ~VirtualTime() override;

  double now() const override { return now_; }
  void wakeAt(Orb::TimerWheel &wheel, double time) override;

  /// Schedules the event, or moves it if it is scheduled already. A time that has passed means now, behind
  /// everything that waits for now. What it will look at, if that is known, is fetched into the caches shortly before.
  void schedule(Event &event, double time, const Orb::Footprint *footprint = nullptr);
  void cancel(Event &event);
  /// Runs `action` once at `time`.
  void at(double time, std::function<void()> action);

  /// Runs everything up to and including `deadline`, which is the time afterwards.
  void runTo(double deadline);
  void runFor(double seconds) { runTo(now_ + seconds); }
  /// Runs one event after another until `holds()`, which is asked before the first and after each. False if it
  /// does not hold by `deadline`, which is the time then.
  bool runUntil(const std::function<bool()> &holds, double deadline);

  uint64_t happened() const { return happened_; }  ///< events that have run

 private:
  friend class Event;
  class Wake;
  class Action;
  // Four fit a cache line.
  static constexpr unsigned orderBits = 42;
  struct Entry {
    double time;
    uint64_t order : orderBits;
    uint64_t event : 64 - orderBits;  // its number
    bool operator<(const Entry &other) const { return time != other.time ? time < other.time : order < other.order; }
  };

  struct Known {
    Event *event = nullptr;
    const Orb::Footprint *footprint = nullptr;
    // Of an event that runs a wheel:
    const Orb::TimerWheel *wheel = nullptr;
    const void *timers = nullptr;       // their list
    const Orb::Timer *timer = nullptr;  // the one that is likely to fire
  };
  // One of the next events, with the steps of fetching what it needs that are done.
  struct Soon : Entry {
    size_t step = 0;
  };
  /// The number of a new event.
  uint32_t numberFor(Event &event);
  void numberDel(uint32_t number);
  bool isScheduled(uint32_t event) const { return place_[event] != notScheduled; }
  /// Runs the first event unless it is later than `deadline`.
  bool step(double deadline);
  /// Fills up the next events, and does a step for each.
  void lookAhead();
  void fetch(Soon &soon) const;
  void soonIs(const Soon &soon);
  void soonDel(uint32_t event);
  void push(const Entry &entry);
  void put(uint32_t place, const Entry &entry);
  void siftUp(uint32_t place, const Entry &entry);
  void siftDown(uint32_t place, const Entry &entry);
  void remove(uint32_t place);

  static constexpr uint32_t notScheduled = std::numeric_limits<uint32_t>::max();
  static constexpr uint32_t isSoon = notScheduled - 1;  // instead of a place in the heap

  double now_ = start;
  uint64_t order_ = 0;
  uint64_t happened_ = 0;
  std::array<Soon, 8> soon_;  // the next events, in order; all others are later
  uint32_t soonCount_ = 0;
  std::vector<Entry> heap_;  // the others; each entry is before its four children
  // By number, and close together: the events themselves are all over the memory.
  std::vector<Known> event_;
  std::vector<uint32_t> place_;  // in the heap
  std::vector<uint32_t> unused_;
  std::unordered_map<Event *, std::unique_ptr<Event>> action_;
};

inline bool Event::scheduled() const { return virtualTime_.isScheduled(number_); }

}  // namespace Sim
