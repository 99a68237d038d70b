/// The loop of the process: packets, timers, kernel events and operator requests, one at a time.
#pragma once

#include <memory>
#include <set>
#include <unordered_map>
#include <vector>

#include "platform/linux/Descriptor.h"
#include "platform/linux/Watch.h"
#include "platform/orb/DurationCounts.h"
#include "platform/orb/TimerWheel.h"

namespace boost::asio {
class io_context;
}

namespace Linux {

/// Runs everything on the calling thread. Its clock is the boot clock, which goes on through
/// restarts of the program and suspends of the machine; within one turn it stands still, so reading
/// it is cheap. One timerfd on the same clock serves all timer wheels. While there is nothing to do it
/// sleeps in the kernel. Whoever runs the process owns it, and it outlives whatever it serves.
class EventLoop : public Orb::Clock, public Orb::Waker {
 public:
  EventLoop();
  ~EventLoop() override;

  /// For what belongs to Asio: signals, local sockets. Only turn() and run() may run it.
  boost::asio::io_context &context() { return *context_; }

  /// Waits for one event and handles it. False when the loop was stopped.
  bool turn();
  /// Turns until stop().
  void run();
  void stop() { stopped_ = true; }

  /// Says that the wait of this turn is over. A Watch does; what belongs to Asio should, before work that may take
  /// long.
  void workBegins() const { now(); }
  /// How long turns took, each from the first reading of the clock in it to its end. Without one it does not count.
  const Orb::DurationCounts &turns() const { return turns_; }
  /// The longest one since it was last cleared, in seconds.
  double longestTurn() const { return longestTurn_; }
  void longestTurnClear() { longestTurn_ = 0; }

  double now() const override;
  void wakeAt(Orb::TimerWheel &wheel, double time) override;
  bool turnIsLong() const override;

 private:
  void forget(Orb::TimerWheel &wheel);
  void runWheels();
  void setTimer();

  const std::unique_ptr<boost::asio::io_context> context_;
  const Descriptor timer_;  // the timerfd
  std::unique_ptr<Watch> timerWatch_;
  std::set<std::pair<double, Orb::TimerWheel *>> order_;
  std::unordered_map<Orb::TimerWheel *, double> asked_;
  std::vector<std::pair<double, Orb::TimerWheel *>> due_;  // to run in this turn; null where one was cancelled
  double set_ = Orb::never;                                // what the timerfd is set to
  bool stopped_ = false;
  bool inTurn_ = false;
  mutable double cached_ = 0;  // zero: the clock was not read in this turn
  Orb::DurationCounts turns_;
  double longestTurn_ = 0;
};

}  // namespace Linux
