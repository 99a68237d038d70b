#include "platform/sim/VirtualTime.h"

#include <algorithm>

#include "platform/tracelet/Require.h"

namespace Sim {

constexpr uint32_t children = 4;
constexpr size_t eventKnown = 2;  // the step at which the event and its footprint are in the cache

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
  const Orb::Timer *const timer = wheel.fewTimers().next();
  schedule(wake, time, timer ? timer->footprint() : nullptr);
  Known &known = event_[wake.number_];
  known.wheel = &wheel;
  known.timers = wheel.fewTimers().list();
  known.timer = timer;
}

uint32_t VirtualTime::numberFor(Event &event) {
  if (unused_.empty()) {
    REQUIRE(event_.size() >> (64 - orderBits) == 0);
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

void VirtualTime::schedule(Event &event, double time, const Orb::Footprint *footprint) {
  REQUIRE(time < Orb::never);
  cancel(event);
  ++order_;
  REQUIRE(order_ >> orderBits == 0);
  event_[event.number_].footprint = footprint;
  const Entry entry{std::max(time, now_), order_, event.number_};
  if (soonCount_ > 0 && entry < soon_[soonCount_ - 1]) {
    soonIs({entry, eventKnown});
  } else {
    push(entry);
  }
}

void VirtualTime::cancel(Event &event) {
  const uint32_t place = place_[event.number_];
  if (place == notScheduled) return;
  place == isSoon ? soonDel(event.number_) : remove(place);
}

void VirtualTime::soonIs(const Soon &soon) {
  if (soonCount_ == soon_.size()) push(soon_[--soonCount_]);
  uint32_t place = soonCount_++;
  for (; place > 0 && soon < soon_[place - 1]; --place) soon_[place] = soon_[place - 1];
  soon_[place] = soon;
  place_[soon.event] = isSoon;
}

void VirtualTime::soonDel(uint32_t event) {
  const auto end = soon_.begin() + soonCount_;
  const auto gone = std::find_if(soon_.begin(), end, [&](const Soon &soon) { return soon.event == event; });
  std::move(gone + 1, end, gone);
  --soonCount_;
  place_[event] = notScheduled;
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
  lookAhead();
  if (soonCount_ == 0 || soon_.front().time > deadline) return false;
  now_ = soon_.front().time;
  Event &event = *event_[soon_.front().event].event;
  soonDel(soon_.front().event);
  ++happened_;
  event.happen();
  return true;
}

void VirtualTime::lookAhead() {
  while (soonCount_ < soon_.size() && !heap_.empty()) {
    const Entry first = heap_.front();
    remove(0);
    place_[first.event] = isSoon;
    soon_[soonCount_++] = {first};
  }
  for (uint32_t place = 0; place < soonCount_; ++place) fetch(soon_[place]);
}

// Each step looks only at what those before have fetched, while other events ran.
void VirtualTime::fetch(Soon &soon) const {
  const Known &known = event_[soon.event];
  const size_t step = soon.step++;
  if (step == 0) {
    Orb::fetchLines(&known, 1);
  } else if (step == 1) {
    Orb::fetchLines(known.event, 1);
    if (known.footprint) known.footprint->fetch();
    if (!known.wheel) return;
    Orb::fetchLines(known.wheel, 3);
    Orb::fetchLines(known.timers, 3);
    Orb::fetchLines(known.timer, 1);
  } else if (known.footprint && step < eventKnown + Orb::Footprint::parts) {
    known.footprint->fetchPart(step - eventKnown);
  }
}

void VirtualTime::push(const Entry &entry) {
  heap_.emplace_back();
  siftUp(static_cast<uint32_t>(heap_.size() - 1), entry);
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
