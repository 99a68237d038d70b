#include "platform/orb/FewTimers.h"

#include <algorithm>
#include <utility>

#include "platform/orb/TimerWheel.h"

namespace Orb {

bool FewTimers::add(Timer &timer) {
  if (entry_.size() >= most_) return false;
  timer.few_ = static_cast<uint32_t>(entry_.size());
  entry_.push_back({timer.time_, &timer});
  return true;
}

void FewTimers::remove(Timer &timer) {
  const uint32_t place = std::exchange(timer.few_, Timer::nowhere);
  if (place + 1 != entry_.size()) {
    entry_[place] = entry_.back();
    entry_[place].timer->few_ = place;
  }
  entry_.pop_back();
}

void FewTimers::takeDue(double now, std::vector<Timer *> &due) {
  for (size_t place = entry_.size(); place-- > 0;) {
    Entry &entry = entry_[place];
    if (entry.time > now) continue;
    entry.time = entry.timer->time_;
    if (entry.time > now) continue;
    due.push_back(entry.timer);
    remove(*entry.timer);
  }
}

double FewTimers::nextTime() {
  while (!entry_.empty()) {
    Entry &least = *std::min_element(entry_.begin(), entry_.end(),
                                     [](const Entry &one, const Entry &other) { return one.time < other.time; });
    if (least.timer->time_ == least.time) return least.time;
    least.time = least.timer->time_;
  }
  return never;
}

std::vector<Timer *> FewTimers::takeAll() {
  std::vector<Timer *> all;
  for (const Entry &entry : entry_) {
    entry.timer->few_ = Timer::nowhere;
    all.push_back(entry.timer);
  }
  entry_ = {};
  return all;
}

}  // namespace Orb
