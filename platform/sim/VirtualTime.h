/// Time that passes only when the simulation runs: the clock, the waker of every timer wheel, and
/// the queue of whatever else is to happen.
///
/// What happens is an Event; events run in order of time, those of one instant in the order in
/// which they were scheduled. An event stands in the queue at most once. Nothing ever runs inside
/// schedule(), cancel() or wakeAt(). Scheduling, moving and cancelling cost O(log n) of the events
/// that wait, and allocate only while the queue grows.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "platform/orb/Clock.h"
#include "platform/orb/TimerWheel.h"

namespace Sim {

class VirtualTime;

/// Owned by whoever schedules it; destroyed, it is not scheduled any more.
class Event {
 public:
  explicit Event(VirtualTime &time) : virtualTime_(time) {}
  virtual ~Event();
  Event(const Event &) = delete;
  Event &operator=(const Event &) = delete;
  bool scheduled() const { return place_ != notScheduled; }

 protected:
  /// Runs at its time, no longer scheduled; may schedule or destroy itself.
  virtual void happen() = 0;

 private:
  friend class VirtualTime;
  static constexpr size_t notScheduled = ~size_t{0};
  VirtualTime &virtualTime_;
  size_t place_ = notScheduled;
};

class VirtualTime : public Orb::Clock, public Orb::Waker {
 public:
  static constexpr double start = 1000;

  VirtualTime();
  ~VirtualTime() override;

  double now() const override { return now_; }
  void wakeAt(Orb::TimerWheel &wheel, double time) override;

  /// Moves the event if it is scheduled already; a time that has passed means now, behind everything
  /// that waits for now.
  void schedule(Event &event, double time);
  void cancel(Event &event);
  /// Runs `action` once.
  void at(double time, std::function<void()> action);

  /// Runs everything up to and including `deadline`, and ends there.
  void runTo(double deadline);
  void runFor(double seconds) { runTo(now_ + seconds); }
  /// Runs event after event until `holds` says true, asked before the first and after each. False
  /// when it did not hold by `deadline`, at which time now() is then.
  bool runUntil(const std::function<bool()> &holds, double deadline);

  uint64_t happened() const { return happened_; }  ///< events that have run

 private:
  class Wake;
  class Action;
  struct Entry {
    double time;
    uint64_t order;
    Event *event;
    bool operator<(const Entry &other) const { return time != other.time ? time < other.time : order < other.order; }
  };

  /// Runs the first event unless it is later than `deadline`.
  bool step(double deadline);
  void put(size_t place, const Entry &entry);
  void siftUp(size_t place, const Entry &entry);
  void siftDown(size_t place, const Entry &entry);
  void remove(size_t place);

  double now_ = start;
  uint64_t order_ = 0;
  uint64_t happened_ = 0;
  std::vector<Entry> heap_;  // each entry is before its four children
  std::unordered_map<Orb::TimerWheel *, std::unique_ptr<Wake>> wake_;
  std::unordered_map<Event *, std::unique_ptr<Event>> action_;
};

}  // namespace Sim
