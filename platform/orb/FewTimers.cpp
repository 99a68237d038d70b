#include "platform/orb/FewTimers.h"

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
  if (next_ == &timer) next_ = nullptr;
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
  for (;;) {
    const Entry *least = nullptr;
    for (const Entry &entry : entry_) {
      if (!least || entry.time < least->time) least = &entry;
    }
    if (!least) return never;
    const double time = least->timer->time_;
    if (time == least->time) {
      next_ = least->timer;
      return time;
    }
    // It was moved. So, most likely, were others that would come before it now.
    for (Entry &entry : entry_) {
      if (entry.time < time) entry.time = entry.timer->time_;
    }
  }
}

std::vector<Timer *> FewTimers::takeAll() {
  std::vector<Timer *> all;
  for (const Entry &entry : entry_) {
    entry.timer->few_ = Timer::nowhere;
    all.push_back(entry.timer);
  }
  entry_ = {};
  next_ = nullptr;
  return all;
}

}  // namespace Orb
