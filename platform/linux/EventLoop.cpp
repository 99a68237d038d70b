#include "platform/linux/EventLoop.h"

#include <sys/timerfd.h>
#include <time.h>

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <cmath>

#include "platform/tracelet/Require.h"

namespace Linux {

namespace {

constexpr double longTurn = 0.01;  // seconds that timers may take in a turn

Descriptor newTimer() {
  Descriptor timer(timerfd_create(CLOCK_BOOTTIME, TFD_NONBLOCK | TFD_CLOEXEC));
  if (!timer) throw systemError("timerfd_create");
  return timer;
}

double bootTime() {
  timespec time{};
  clock_gettime(CLOCK_BOOTTIME, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// A time of zero would disarm the timerfd; rounding up keeps it from firing just before the time.
itimerspec timerSetting(double time) {
  itimerspec setting{};
  if (time == Orb::never) return setting;
  const double seconds = std::floor(std::clamp(time, 0.0, 1e12));
  const double rest = std::ceil((std::clamp(time, 0.0, 1e12) - seconds) * 1e9);
  setting.it_value.tv_sec = static_cast<time_t>(seconds);
  setting.it_value.tv_nsec = std::min(static_cast<long>(rest), 999999999L);
  if (setting.it_value.tv_sec == 0 && setting.it_value.tv_nsec == 0) setting.it_value.tv_nsec = 1;
  return setting;
}

}  // namespace

EventLoop::EventLoop() : context_(std::make_unique<boost::asio::io_context>(1)), timer_(newTimer()) {
  timerWatch_ = std::make_unique<Watch>(*this, timer_.number(), [this] { runWheels(); });
}

EventLoop::~EventLoop() = default;

bool EventLoop::turn() {
  if (stopped_) return false;
  setTimer();
  inTurn_ = true;
  cached_ = 0;
  context_->restart();
  context_->run_one();
  if (cached_ != 0) {
    const double took = bootTime() - cached_;
    turns_.add(took);
    longestTurn_ = std::max(longestTurn_, took);
  }
  inTurn_ = false;
  return !stopped_;
}

void EventLoop::run() {
  while (turn()) {
  }
}

double EventLoop::now() const {
  if (!inTurn_) return bootTime();
  if (cached_ == 0) cached_ = bootTime();
  return cached_;
}

bool EventLoop::turnIsLong() const { return inTurn_ && bootTime() - now() > longTurn; }

void EventLoop::wakeAt(Orb::TimerWheel &wheel, double time) {
  if (time == Orb::never) return forget(wheel);
  const auto [asked, added] = asked_.try_emplace(&wheel, time);
  if (added) return void(order_.emplace(time, &wheel));
  auto node = order_.extract({asked->second, &wheel});
  node.value().first = asked->second = time;
  order_.insert(std::move(node));
}

void EventLoop::forget(Orb::TimerWheel &wheel) {
  for (auto &[time, due] : due_) {
    if (due == &wheel) due = nullptr;
  }
  const auto asked = asked_.find(&wheel);
  if (asked == asked_.end()) return;
  order_.erase({asked->second, &wheel});
  asked_.erase(asked);
}

void EventLoop::runWheels() {
  uint64_t expirations = 0;
  [[maybe_unused]] const ssize_t got = ::read(timer_.number(), &expirations, sizeof expirations);
  set_ = Orb::never;
  while (!order_.empty() && order_.begin()->first <= now()) {
    due_.push_back(*order_.begin());
    asked_.erase(order_.begin()->second);
    order_.erase(order_.begin());
  }
  // What a wheel asks for meanwhile, even a time that has passed, is for the next turn.
  for (size_t i = 0; i < due_.size(); ++i) {
    const auto [time, due] = due_[i];
    const Kiv::Ptr<Orb::TimerWheel> wheel(due);
    if (!wheel) continue;
    i > 0 && turnIsLong() ? wakeAt(*wheel, time) : wheel->run();
  }
  due_.clear();
}

void EventLoop::setTimer() {
  const double next = order_.empty() ? Orb::never : order_.begin()->first;
  if (next == set_) return;
  const itimerspec setting = timerSetting(next);
  REQUIRE(timerfd_settime(timer_.number(), TFD_TIMER_ABSTIME, &setting, nullptr) == 0);
  set_ = next;
}

}  // namespace Linux
