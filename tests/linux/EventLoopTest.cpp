#include "platform/linux/EventLoop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <optional>
#include <thread>

namespace {

class Alarm : public Orb::Timer {
 public:
  Alarm(const Kiv::Ptr<Orb::TimerWheel> &wheel, std::function<void()> rings) : Timer(wheel), rings_(std::move(rings)) {}
  void onTime() override { rings_(); }

 private:
  const std::function<void()> rings_;
};

TEST(EventLoopTest, TimersOfManyWheelsFireInTheOrderOfTheirTimesAndNeverEarly) {
  Linux::EventLoop loop;
  std::vector<int> fired;
  std::vector<std::unique_ptr<Alarm>> alarms;
  const double start = loop.now();
  for (int i = 0; i < 50; ++i) {
    const double time = start + 0.02 + 0.02 * (i * 7 % 50);
    alarms.push_back(std::make_unique<Alarm>(Kiv::make<Orb::TimerWheel>(loop, loop), [&fired, &loop, i, time] {
      EXPECT_GE(loop.now(), time);
      fired.push_back(i * 7 % 50);
    }));
    alarms.back()->timeMinIs(time);
  }
  Alarm end(Kiv::make<Orb::TimerWheel>(loop, loop), [&] { loop.stop(); });
  end.timeMinIs(start + 1.1);
  loop.run();
  EXPECT_EQ(fired.size(), 50u);
  EXPECT_TRUE(std::ranges::is_sorted(fired));
}

TEST(EventLoopTest, AWheelThatGoesWhileItIsDueFiresNothing) {
  Linux::EventLoop loop;
  std::optional<Alarm> first, second;
  int fired = 0;
  const auto ring = [&](std::optional<Alarm> &other) {
    ++fired;
    other.reset();  // with it, its wheel
    loop.stop();
  };
  first.emplace(Kiv::make<Orb::TimerWheel>(loop, loop), [&] { ring(second); });
  second.emplace(Kiv::make<Orb::TimerWheel>(loop, loop), [&] { ring(first); });
  const double due = loop.now() - 1;
  first->timeMinIs(due);
  second->timeMinIs(due);
  loop.run();
  EXPECT_EQ(fired, 1);
}

TEST(EventLoopTest, ALongTurnIsRememberedAndTheWaitBeforeItIsNot) {
  Linux::EventLoop loop;
  const Kiv::Ptr<Orb::TimerWheel> wheel = Kiv::make<Orb::TimerWheel>(loop, loop);
  const auto sleep = [](double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); };
  Alarm busy(wheel, [&] { sleep(0.02); });
  Alarm end(wheel, [&] { loop.stop(); });
  const double start = loop.now();
  busy.timeMinIs(start + 0.1);
  end.timeMinIs(start + 0.2);
  loop.run();
  EXPECT_GE(loop.longestTurn(), 0.02);
  EXPECT_GE(loop.turns().sum(), loop.longestTurn());
  EXPECT_LE(loop.turns().sum(), loop.now() - start - 0.1);
  EXPECT_LE(loop.longestTurn(), loop.now() - start - 0.1);
  loop.longestTurnClear();
  EXPECT_EQ(loop.longestTurn(), 0);
}

TEST(EventLoopTest, OtherThingsHaveTheirTurnBetweenWheelsThatTakeLong) {
  Linux::EventLoop loop;
  std::vector<std::string> order;
  std::vector<std::unique_ptr<Alarm>> alarms;
  for (int i = 0; i < 3; ++i) {
    alarms.push_back(std::make_unique<Alarm>(Kiv::make<Orb::TimerWheel>(loop, loop), [&] {
      while (!loop.turnIsLong()) {
      }
      boost::asio::post(loop.context(), [&] { order.emplace_back("packet"); });
      order.emplace_back("timer");
      if (order.size() == 5) loop.stop();
    }));
  }
  const double due = loop.now() - 1;
  for (const auto &alarm : alarms) alarm->timeMinIs(due);
  loop.run();
  EXPECT_EQ(order, (std::vector<std::string>{"timer", "packet", "timer", "packet", "timer"}));
}

}  // namespace
