#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "tests/support/ManualClock.h"

namespace {

struct Alarm : Orb::Timer {
  Alarm(const Kiv::Ptr<Orb::TimerWheel> &wheel, std::function<void()> action)
      : Timer(wheel), action(std::move(action)) {}
  void onTime() override {
    const auto copy = action;  // it may destroy this
    copy();
  }
  std::function<void()> action;
};

// The parameter: how many timers stand in a list.
struct Wheel : testing::TestWithParam<uint32_t> {
  ::Test::ManualTime time;
  Kiv::Ptr<Orb::TimerWheel> wheel =
      Kiv::make<Orb::TimerWheel>(time, time, Orb::TimerWheel::Parameters{100, 108200, 1, 1024, GetParam()});
  int fired = 0;

  std::unique_ptr<Alarm> alarm(double at) {
    auto result = std::make_unique<Alarm>(wheel, [this] { ++fired; });
    result->timeMinIs(at);
    return result;
  }
};

TEST_P(Wheel, LivesUntilTheLastOfItsTimersIsDestroyedInItsOwnCallback) {
  auto only = alarm(1001);
  only->action = [&] { only.reset(); };
  wheel = nullptr;
  time.advanceTo(1002);
  EXPECT_FALSE(only);
  EXPECT_TRUE(time.idle());
}

TEST_P(Wheel, RunsNoMoreOftenThanItsTimersNeed) {
  EXPECT_TRUE(time.idle());
  auto far = alarm(1e9 + 0.5);
  time.advanceTo(1e9);
  EXPECT_LE(time.runs(), 8u) << "one run a level at most";
  time.advanceTo(1e9 + 1);
  EXPECT_EQ(fired, 1);
  EXPECT_TRUE(time.idle());

  const uint64_t before = time.runs();
  auto moved = alarm(time.now() + 60);
  for (int i = 0; i < 1000; ++i) {
    time.advanceTo(time.now() + 1);
    moved->timeMinIs(time.now() + 60);
  }
  EXPECT_LT(time.runs() - before, 200u) << "moving a timer does not run the wheel each time";
  moved.reset();
  for (int i = 1; i < 3000; ++i) {  // at times that are not exact in binary
    const uint64_t before = time.runs();
    const auto one = alarm(time.now() + i * 0.29);
    time.advanceTo(time.now() + i * 0.29);
    ASSERT_LE(time.runs() - before, 4u) << i;
  }
  EXPECT_EQ(fired, 3000);
  EXPECT_TRUE(time.idle());
}

TEST_P(Wheel, LeavesTheRestToItsNextRunsInTheSameOrderWhenATurnIsLong) {
  std::vector<int> order;
  std::vector<std::unique_ptr<Alarm>> alarms;
  for (int i = 0; i < 20; ++i) {
    alarms.push_back(alarm(1001));
    alarms.back()->action = [&order, i] { order.push_back(i); };
  }
  alarms[4]->action = [&] { alarms[16]->timeMinIs(1001); };
  alarms[5]->action = [&] { alarms[17].reset(), alarms[18]->timeMinIs(Orb::never); };
  std::unique_ptr<Alarm> past;
  alarms[6]->action = [&] {
    past = alarm(900);
    past->action = [&] { order.push_back(900); };
  };
  Alarm other(Kiv::make<Orb::TimerWheel>(time, time), [&] { order.push_back(100); });
  other.timeMinIs(1001);
  time.hurried = true;
  time.advanceTo(1001);
  EXPECT_EQ(order, (std::vector{0, 1, 2, 3, 7, 100, 8, 9, 10, 11, 12, 13, 14, 15, 19, 900, 16}));
  order.clear();
  for (const int i : {0, 1, 2, 3, 7, 8, 9, 10, 11, 12}) alarms[i]->timeMinIs(1002);
  time.advanceTo(1002);
  EXPECT_EQ(order, (std::vector{0, 1, 2, 3, 7, 8, 9, 10, 11, 12})) << "also when nothing else is armed";
  EXPECT_TRUE(time.idle());
}

INSTANTIATE_TEST_SUITE_P(WithSlotsAndWithout, Wheel, testing::Values(0, 64));

// What decides on the order of firing.
struct Due {
  double at;     // when it really fires: not before it was armed
  uint64_t run;  // the run whose callbacks armed it for a time that had passed
  double time;
  uint64_t order;
  auto operator<=>(const Due &) const = default;
};

// The same commands on wheels of different shapes and on a sorted list: the same timers at the same times.
TEST(WheelAgainstModel, FiresTheSameTimersInTheSameOrder) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  for (const auto &parameters :
       {Orb::TimerWheel::Parameters{100, 108200, 1, 1024, 0}, Orb::TimerWheel::Parameters{10, 1, 3, 4, 0},
        Orb::TimerWheel::Parameters{1000, 60, 1, 64, 35}, Orb::TimerWheel::Parameters{100, 108200, 1, 1024, 64}}) {
    std::mt19937 random(seed);
    ::Test::ManualTime time;
    const auto wheel = Kiv::make<Orb::TimerWheel>(time, time, parameters);
    constexpr unsigned count = 40;
    std::map<Due, unsigned> model;
    std::vector<std::unique_ptr<Alarm>> timers(count);
    uint64_t order = 0;
    bool firing = false;
    const auto forget = [&](unsigned n) { std::erase_if(model, [&](const auto &each) { return each.second == n; }); };
    const auto arm = [&](unsigned n) {
      constexpr double spans[] = {0.005, 0.1, 3, 60, 2000, 2e5};
      double at = time.now() + std::uniform_real_distribution(-0.2, 1.0)(random) * spans[random() % 6];
      if (random() % 3 == 0) at = std::round(at);
      at = std::max(at, 1.0);
      forget(n);
      const bool nextRun = firing && at <= time.now();
      model[{std::max(at, time.now()), nextRun ? time.runs() : 0, at, ++order}] = n;
      timers[n]->timeMinIs(at);
    };
    std::function<void(unsigned)> renew = [&](unsigned n) {
      forget(n);
      timers[n] = std::make_unique<Alarm>(wheel, [&, n] {
        ASSERT_FALSE(model.empty());
        ASSERT_EQ(model.begin()->second, n);
        ASSERT_EQ(model.begin()->first.at, time.now());
        ASSERT_FALSE(timers[n]->armed());
        model.erase(model.begin());
        firing = true;
        if (random() % 2) arm(n);
        const unsigned other = random() % count;
        if (const unsigned what = random() % 8; what < 2) {
          forget(other), timers[other]->timeMinIs(what ? 0 : Orb::never);
        } else if (what == 2) {
          renew(random() % 2 ? n : other);
        }
        firing = false;
      });
    };
    for (unsigned n = 0; n < count; ++n) renew(n);
    for (int round = 0; round < 20000 && !testing::Test::HasFatalFailure(); ++round) {
      arm(random() % count);
      if (random() % 4) continue;
      const double jumps[] = {0, 0.01, 0.5, 30, 5000};
      time.advanceTo(time.now() + jumps[random() % 5]);
      ASSERT_TRUE(model.empty() || model.begin()->first.at > time.now()) << "a due timer has not fired";
    }
  }
}

}  // namespace
