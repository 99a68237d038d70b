#include "platform/sim/VirtualTime.h"

#include <algorithm>

#include "platform/tracelet/Require.h"

namespace Sim {

constexpr size_t children = 4;

// The run of a wheel.
class VirtualTime::Wake : public Event {
 public:
  Wake(VirtualTime &time, Orb::TimerWheel &wheel) : Event(time), wheel_(wheel) {}

 private:
  void happen() override { wheel_.run(); }
  Orb::TimerWheel &wheel_;
};

class VirtualTime::Action : public Event {
 public:
  Action(VirtualTime &time, std::function<void()> action) : Event(time), time_(time), action_(std::move(action)) {}

 private:
  void happen() override {
    const auto self = time_.action_.extract(this);
    action_();
  }
  VirtualTime &time_;
  const std::function<void()> action_;
};

Event::~Event() { virtualTime_.cancel(*this); }

VirtualTime::VirtualTime() = default;
VirtualTime::~VirtualTime() = default;

void VirtualTime::wakeAt(Orb::TimerWheel &wheel, double time) {
  if (time == Orb::never) return void(wake_.erase(&wheel));
  std::unique_ptr<Wake> &wake = wake_[&wheel];
  if (!wake) wake = std::make_unique<Wake>(*this, wheel);
  schedule(*wake, time);
}

void VirtualTime::schedule(Event &event, double time) {
  REQUIRE(time < Orb::never);
  cancel(event);
  heap_.emplace_back();
  siftUp(heap_.size() - 1, {std::max(time, now_), ++order_, &event});
}

void VirtualTime::cancel(Event &event) {
  if (event.scheduled()) remove(event.place_);
}

void VirtualTime::at(double time, std::function<void()> action) {
  auto event = std::make_unique<Action>(*this, std::move(action));
  schedule(*event, time);
  Event *const key = event.get();
  action_.emplace(key, std::move(event));
}

void VirtualTime::runTo(double deadline) {
  while (step(deadline)) {
  }
  now_ = std::max(now_, deadline);
}

bool VirtualTime::runUntil(const std::function<bool()> &holds, double deadline) {
  while (!holds()) {
    if (step(deadline)) continue;
    now_ = std::max(now_, deadline);
    return holds();
  }
  return true;
}

bool VirtualTime::step(double deadline) {
  if (heap_.empty() || heap_.front().time > deadline) return false;
  now_ = heap_.front().time;
  Event &event = *heap_.front().event;
  remove(0);
  ++happened_;
  event.happen();
  return true;
}

void VirtualTime::put(size_t place, const Entry &entry) {
  heap_[place] = entry;
  entry.event->place_ = place;
}

void VirtualTime::siftUp(size_t place, const Entry &entry) {
  while (place > 0) {
    const size_t parent = (place - 1) / children;
    if (!(entry < heap_[parent])) break;
    put(place, heap_[parent]);
    place = parent;
  }
  put(place, entry);
}

void VirtualTime::siftDown(size_t place, const Entry &entry) {
  for (;;) {
    const size_t first = place * children + 1;
    if (first >= heap_.size()) break;
    const auto begin = heap_.begin() + static_cast<std::ptrdiff_t>(first);
    const auto least =
        std::min_element(begin, begin + static_cast<std::ptrdiff_t>(std::min(children, heap_.size() - first)));
    if (!(*least < entry)) break;
    put(place, *least);
    place = static_cast<size_t>(least - heap_.begin());
  }
  put(place, entry);
}

void VirtualTime::remove(size_t place) {
  heap_[place].event->place_ = Event::notScheduled;
  const Entry last = heap_.back();
  heap_.pop_back();
  if (place == heap_.size()) return;
  if (place > 0 && last < heap_[(place - 1) / children]) {
    siftUp(place, last);
  } else {
    siftDown(place, last);
  }
}

}  // namespace Sim
