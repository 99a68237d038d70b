// The time of a simulation: the order of its events.
#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "platform/orb/Random.h"
#include "platform/orb/TimerFor.h"
#include "platform/sim/VirtualTime.h"

namespace Sim {
namespace {

// Schedules itself; writes its name when it happens.
class Note : public Event {
 public:
  Note(VirtualTime &time, std::string &log, char name) : Event(time), log_(log), name_(name) {}

 private:
  void happen() override { log_ += name_; }
  std::string &log_;
  const char name_;
};

TEST(VirtualTime, EventsRunInOrderOfTimeThenOfScheduling) {
  VirtualTime time;
  std::string log;
  Note a(time, log, 'a'), b(time, log, 'b'), c(time, log, 'c'), d(time, log, 'd');
  auto gone = std::make_unique<Note>(time, log, 'x');
  time.schedule(a, 1005);
  time.schedule(*gone, 1001);
  time.schedule(b, 1002);
  time.schedule(c, 1005);
  time.schedule(d, 1001);
  time.schedule(a, 1005);  // anew: behind c
  time.schedule(b, 900);   // the past is now
  time.cancel(d);
  gone.reset();
  time.runTo(1004);
  EXPECT_EQ(log, "b");
  EXPECT_EQ(time.now(), 1004);
  time.runTo(1005);
  EXPECT_EQ(log, "bca");
}

// Events that schedule, move and cancel one another, beside a sorted list of those that wait.
class Crowd {
 public:
  explicit Crowd(uint64_t seed) : random_(seed) {
    for (size_t i = 0; i < 40; ++i) members_.push_back(std::make_unique<Member>(*this, i));
    for (size_t i = 0; i < members_.size(); ++i) stir();
  }
  bool run() {
    while (inOrder_ && !waiting_.empty() && time_.now() < VirtualTime::start + 200) time_.runFor(1);
    return inOrder_ && time_.happened() > 500;
  }

 private:
  struct Member : Event {
    Member(Crowd &crowd, size_t index) : Event(crowd.time_), crowd(crowd), index(index) {}
    void happen() override { crowd.happened(index); }
    Crowd &crowd;
    const size_t index;
  };
  void happened(size_t index) {
    inOrder_ = inOrder_ && !waiting_.empty() && waiting_.begin()->second == index &&
               waiting_.begin()->first.first == time_.now();
    forget(index);
    for (int i = 0; i < 3; ++i) stir();
  }
  void stir() {
    const size_t index = random_.next() % members_.size();
    forget(index);
    if (random_.next() % 3 == 0) return time_.cancel(*members_[index]);
    const double delays[] = {0, 0.25, 1, 20};
    const double time = time_.now() + delays[random_.next() % std::size(delays)];
    time_.schedule(*members_[index], time);
    waiting_[{time, ++order_}] = index;
  }
  void forget(size_t index) {
    std::erase_if(waiting_, [&](const auto &each) { return each.second == index; });
  }

  VirtualTime time_;
  Orb::Random random_;
  std::map<std::pair<double, uint64_t>, size_t> waiting_;
  uint64_t order_ = 0;
  bool inOrder_ = true;
  std::vector<std::unique_ptr<Member>> members_;
};

TEST(VirtualTime, KeepsTheOrderOfEventsThatComeGoAndMove) {
  for (uint64_t seed = 1; seed <= 20; ++seed) EXPECT_TRUE(Crowd(seed).run()) << seed;
}

struct Alarm {
  explicit Alarm(const Kiv::Ptr<Orb::TimerWheel> &wheel) : timer(wheel, *this) {}
  void ring() { ++rung; }
  int rung = 0;
  Orb::TimerFor<&Alarm::ring> timer;
};

TEST(VirtualTime, WakesAWheelWhoseNextTimerIsGone) {
  VirtualTime time;
  const auto wheel = Kiv::make<Orb::TimerWheel>(time, time);
  Alarm stays(wheel);
  auto gone = std::make_unique<Alarm>(wheel);
  stays.timer.timeMinIs(1005);
  gone->timer.timeMinIs(1010);
  time.runTo(1006);
  gone.reset();
  stays.timer.timeMinIs(1008);
  time.runTo(1020);
  EXPECT_EQ(stays.rung, 2);
}

}  // namespace
}  // namespace Sim
