#include "platform/orb/TimerWheel.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <tuple>

#include "platform/tracelet/Require.h"

namespace Orb {

Timer::Timer(const Kiv::Ptr<TimerWheel> &wheel) : wheel_(wheel) {}

Timer::~Timer() { wheel_->disarm(*this); }

void Timer::timeMinIs(double time) {
  REQUIRE(!std::isnan(time));
  if (waits() && time >= time_ && time < never) {
    time_ = time;
    sequence_ = ++wheel_->sequence_;
    return;
  }
  wheel_->disarm(*this);
  time_ = time;
  if (time != 0 && time != never) wheel_->arm(*this);
}

TimerWheel::TimerWheel(const Clock &clock, Waker &waker, const Parameters &parameters)
    : clock_(clock),
      waker_(waker),
      few_(parameters.few),
      parameters_(parameters),
      ticksPerSecond_(double(parameters.ticksPerSecond) / parameters.ticksPerSlot),
      shift_(std::bit_width(parameters.slotsPerLevel) - 1),
      current_(tickOf(clock.now())) {
  REQUIRE(parameters.ticksPerSecond > 0 && parameters.ticksPerSlot > 0);
  REQUIRE(std::has_single_bit(parameters.slotsPerLevel) && parameters.slotsPerLevel > 1);
}

void TimerWheel::run() {
  if (running_) return;
  const Kiv::Ptr<TimerWheel> self(this);
  running_ = true;
  if (due_.empty()) {
    levels_.empty() ? few_.takeDue(now(), due_) : collectDue(now());
    sortDue();
  }
  fireDue();
  running_ = false;
  asked_ = due_.empty() ? nextTime() : now();
  waker_.wakeAt(*this, asked_);
}

int64_t TimerWheel::tickOf(double time) const {
  return static_cast<int64_t>(std::clamp(time * ticksPerSecond_, 0.0, double(beyondAll - 1024)));
}

double TimerWheel::startOf(int64_t tick) const {
  double time = static_cast<double>(tick) / ticksPerSecond_;
  while (tickOf(time) < tick) time = std::nextafter(time, never);
  return time;
}

unsigned TimerWheel::levelOf(int64_t tick) const {
  const auto differing = static_cast<uint64_t>(tick ^ current_);
  return differing == 0 ? 0 : (std::bit_width(differing) - 1) / shift_;
}

uint32_t TimerWheel::indexOf(int64_t tick, unsigned level) const {
  return static_cast<uint32_t>(tick >> (level * shift_)) & (parameters_.slotsPerLevel - 1);
}

void TimerWheel::arm(Timer &timer) {
  timer.sequence_ = ++sequence_;
  place(timer);
  if (!running_ && timer.time_ < asked_) ask(timer.time_);
}

void TimerWheel::disarm(Timer &timer) {
  if (timer.waits()) unlink(timer);
  if (timer.due_ != Timer::nowhere) due_[std::exchange(timer.due_, Timer::nowhere)] = nullptr;
}

void TimerWheel::makeLevels() {
  current_ = std::max(current_, tickOf(now()));
  levels_.resize((std::bit_width(uint64_t{beyondAll}) + shift_ - 1) / shift_);
  for (unsigned level = 0; level <= levelOf(current_ ^ tickOf(parameters_.horizon)); ++level) {
    levels_[level] = std::make_unique<Level>(parameters_.slotsPerLevel);
  }
  while (spare_.size() < spareMost) spareIs(std::make_unique<Block>());
  for (Timer *timer : few_.takeAll()) slotIs(*timer);
}

void TimerWheel::place(Timer &timer) {
  if (levels_.empty()) {
    if (few_.add(timer)) return;
    makeLevels();
  }
  slotIs(timer);
}

void TimerWheel::slotIs(Timer &timer) {
  const int64_t tick = std::max(tickOf(timer.time_), current_);
  const unsigned level = levelOf(tick);
  if (!levels_[level]) levels_[level] = std::make_unique<Level>(parameters_.slotsPerLevel);
  const uint32_t index = indexOf(tick, level);
  Timer *&tail = slotFor(*levels_[level], index);
  if (tail) {
    timer.previous_ = tail;
    timer.next_ = tail->next_;
    timer.next_->previous_ = tail->next_ = &timer;
  } else {
    timer.previous_ = timer.next_ = &timer;
    levels_[level]->used[index / 64] |= uint64_t{1} << index % 64;
  }
  tail = &timer;
  timer.slot_ = &tail;
}

Timer *&TimerWheel::slotFor(Level &level, uint32_t index) {
  std::unique_ptr<Block> &block = level.block[index / 64];
  if (!block && spare_.empty()) {
    block = std::make_unique<Block>();
  } else if (!block) {
    block = std::move(spare_.back());
    spare_.pop_back();
  }
  return level.slot(index);
}

bool TimerWheel::dealOn(Timer &timer, int64_t tick) {
  if (tickOf(timer.time_) <= tick) return false;
  unlink(timer);
  slotIs(timer);
  return true;
}

void TimerWheel::unlink(Timer &timer) {
  if (!timer.slot_) return few_.remove(timer);
  Timer *&tail = *timer.slot_;
  if (timer.next_ == &timer) {
    tail = nullptr;  // the bit of the slot is cleared when it is next looked at
  } else {
    timer.previous_->next_ = timer.next_;
    timer.next_->previous_ = timer.previous_;
    if (tail == &timer) tail = timer.previous_;
  }
  timer.slot_ = nullptr;
}

TimerWheel::Place TimerWheel::nextSlot() {
  for (unsigned level = 0; level < levels_.size(); ++level) {
    if (!levels_[level]) continue;
    const uint32_t index = firstUsed(*levels_[level], indexOf(current_, level));
    if (index == parameters_.slotsPerLevel) continue;
    const int64_t window = (current_ >> (level * shift_)) - indexOf(current_, level);
    return {level, (window + index) << (level * shift_)};
  }
  return {0, beyondAll};
}

uint32_t TimerWheel::firstUsed(Level &level, uint32_t index) {
  for (uint32_t word = index / 64; word < level.used.size(); ++word) {
    uint64_t bits = level.used[word];
    if (word == index / 64) bits &= ~uint64_t{0} << index % 64;
    for (; bits != 0; bits &= bits - 1) {
      const uint32_t used = word * 64 + std::countr_zero(bits);
      if (level.slot(used)) return used;
      level.used[word] &= ~(bits & -bits);
      if (level.used[word] == 0) spareIs(std::move(level.block[word]));
    }
  }
  return parameters_.slotsPerLevel;
}

void TimerWheel::spareIs(std::unique_ptr<Block> block) {
  if (spare_.size() < spareMost) spare_.push_back(std::move(block));
}

void TimerWheel::collectDue(double now) {
  const int64_t last = std::max(tickOf(now), current_);
  for (;;) {
    const Place place = nextSlot();
    if (place.start > last) break;
    current_ = place.start;
    if (place.level > 0) {
      cascade(place);
    } else {
      collectSlot(now);
      if (current_ == last) break;
    }
  }
  current_ = last;
}

void TimerWheel::collectSlot(double now) {
  Timer *const tail = levels_[0]->slot(indexOf(current_, 0));
  for (Timer *timer = tail->next_, *next = nullptr;; timer = next) {
    next = timer->next_;
    if (!dealOn(*timer, current_) && timer->time_ <= now) {
      unlink(*timer);
      due_.push_back(timer);
    }
    if (timer == tail) break;
  }
}

void TimerWheel::cascade(const Place &place) {
  Timer *const tail = std::exchange(levels_[place.level]->slot(indexOf(place.start, place.level)), nullptr);
  for (Timer *timer = tail->next_, *next = nullptr;; timer = next) {
    next = timer->next_;
    slotIs(*timer);
    if (timer == tail) break;
  }
}

void TimerWheel::sortDue() {
  std::sort(due_.begin(), due_.end(), [](const Timer *one, const Timer *other) {
    return std::tie(one->time_, one->sequence_) < std::tie(other->time_, other->sequence_);
  });
  for (uint32_t i = 0; i < due_.size(); ++i) due_[i]->due_ = i;
}

void TimerWheel::fireDue() {
  constexpr uint32_t askedAfter = 8;  // timers; a few microseconds each
  while (fired_ < due_.size()) {
    Timer *const timer = due_[fired_++];
    if (!timer) continue;
    disarm(*timer);
    timer->time_ = never;
    timer->onTime();
    if (fired_ % askedAfter == 0 && fired_ < due_.size() && waker_.turnIsLong()) return;
  }
  due_.clear();
  fired_ = 0;
}

double TimerWheel::nextTime() {
  if (levels_.empty()) return few_.nextTime();
  for (;;) {
    const Place place = nextSlot();
    if (place.start == beyondAll) return never;
    if (place.level > 0) return startOf(place.start);
    double least = never;
    Timer *const tail = levels_[0]->slot(indexOf(place.start, 0));
    for (Timer *timer = tail->next_, *next = nullptr;; timer = next) {
      next = timer->next_;
      if (!dealOn(*timer, place.start)) least = std::min(least, timer->time_);
      if (timer == tail) break;
    }
    if (least != never) return least;
  }
}

void TimerWheel::ask(double time) {
  if (asked_ == time) return;
  asked_ = time;
  waker_.wakeAt(*this, time);
}

}  // namespace Orb
