#include "platform/sim/VirtualTime.h"

#include <algorithm>

#include "platform/tracelet/Require.h"

namespace Sim {

constexpr uint32_t children = 4;

// The run of a wheel, which owns it.
class VirtualTime::Wake : public Event, public Orb::Waker::State {
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

Event::Event(VirtualTime &time) : virtualTime_(time), number_(time.numberFor(*this)) {}

Event::~Event() {
  virtualTime_.cancel(*this);
  virtualTime_.numberDel(number_);
}

VirtualTime::VirtualTime() = default;
VirtualTime::~VirtualTime() = default;

void VirtualTime::wakeAt(Orb::TimerWheel &wheel, double time) {
  std::unique_ptr<Orb::Waker::State> &state = wheel.wakerState();
  if (!state) {
    if (time == Orb::never) return;
    state = std::make_unique<Wake>(*this, wheel);
  }
  Wake &wake = static_cast<Wake &>(*state);
  if (time == Orb::never) return cancel(wake);
  const auto [list, timer] = wheel.ahead();
  event_[wake.number_].ahead = {&wheel, list, timer};
  schedule(wake, time);
}

uint32_t VirtualTime::numberFor(Event &event) {
  if (unused_.empty()) {
    unused_.push_back(static_cast<uint32_t>(event_.size()));
    event_.emplace_back();
    place_.push_back(notScheduled);
  }
  const uint32_t number = unused_.back();
  unused_.pop_back();
  event_[number] = {&event};
  return number;
}

void VirtualTime::numberDel(uint32_t number) { unused_.push_back(number); }

void VirtualTime::schedule(Event &event, double time) {
  REQUIRE(time < Orb::never);
  cancel(event);
  heap_.emplace_back();
  siftUp(static_cast<uint32_t>(heap_.size() - 1), {std::max(time, now_), ++order_, event.number_});
}

void VirtualTime::cancel(Event &event) {
  if (event.scheduled()) remove(place_[event.number_]);
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
  Event &event = *event_[heap_.front().event].event;
  remove(0);
  if (!heap_.empty()) fetch(event_[heap_.front().event]);
  ++happened_;
  event.happen();
  return true;
}

// The next event is known while this one still runs.
void VirtualTime::fetch(const Known &next) {
  __builtin_prefetch(next.event);
  for (const void *object : next.ahead) {
    const auto address = reinterpret_cast<uintptr_t>(object);
    for (const uintptr_t line : {0, 64, 128}) __builtin_prefetch(reinterpret_cast<const void *>(address + line));
  }
}

void VirtualTime::put(uint32_t place, const Entry &entry) {
  heap_[place] = entry;
  place_[entry.event] = place;
}

void VirtualTime::siftUp(uint32_t place, const Entry &entry) {
  while (place > 0) {
    const uint32_t parent = (place - 1) / children;
    if (!(entry < heap_[parent])) break;
    put(place, heap_[parent]);
    place = parent;
  }
  put(place, entry);
}

void VirtualTime::siftDown(uint32_t place, const Entry &entry) {
  for (;;) {
    const uint32_t first = place * children + 1;
    if (first >= heap_.size()) break;
    const uint32_t end = std::min(first + children, static_cast<uint32_t>(heap_.size()));
    uint32_t least = first;
    for (uint32_t child = first + 1; child < end; ++child) {
      if (heap_[child] < heap_[least]) least = child;
    }
    if (!(heap_[least] < entry)) break;
    put(place, heap_[least]);
    place = least;
  }
  put(place, entry);
}

void VirtualTime::remove(uint32_t place) {
  place_[heap_[place].event] = notScheduled;
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
