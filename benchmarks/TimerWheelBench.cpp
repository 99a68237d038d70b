// Arming and moving one of 100,000 timers, compared with a bare loop that only picks the timer and its time.

#include <benchmark/benchmark.h>

#include <deque>
#include <random>

#include "platform/orb/TimerWheel.h"

namespace {

class StillTime : public Orb::Clock, public Orb::Waker {
 public:
  double now() const override { return 1000; }
  void wakeAt(Orb::TimerWheel &, double) override {}
};

struct Idle : Orb::Timer {
  using Timer::Timer;
  void onTime() override {}
};

constexpr size_t count = 100000;

struct Timers {
  Timers() {
    std::mt19937 random(1);
    for (size_t i = 0; i < count; ++i) timers.emplace_back(wheel);
    for (uint32_t &each : pick) each = random() % count;
    for (double &each : times) each = 1001 + random() % 300000 * 0.001;
    for (size_t i = 0; i < count; ++i) timers[i].timeMinIs(times[i % size]);
  }
  static constexpr size_t size = 1 << 16;
  StillTime time;
  Kiv::Ptr<Orb::TimerWheel> wheel = Kiv::make<Orb::TimerWheel>(time, time);
  std::deque<Idle> timers;
  std::vector<uint32_t> pick = std::vector<uint32_t>(size);
  std::vector<double> times = std::vector<double>(size);
};

// As a refresh does: one after another, all to the same time.
void moveInOrder(benchmark::State &state) {
  Timers t;
  size_t i = 0;
  double at = 1150;
  for ([[maybe_unused]] auto _ : state) {
    t.timers[i].timeMinIs(at);
    if (++i == count) i = 0, at = at < 1200 ? at + 1 : 1150;
  }
}
void moveAtRandom(benchmark::State &state) {
  Timers t;
  size_t i = 0;
  for ([[maybe_unused]] auto _ : state) {
    t.timers[t.pick[i % Timers::size]].timeMinIs(t.times[((i >> 16) + i) & (Timers::size - 1)]);
    ++i;
  }
}
void disarmAndArmAtRandom(benchmark::State &state) {
  Timers t;
  size_t i = 0;
  for ([[maybe_unused]] auto _ : state) {
    Idle &timer = t.timers[t.pick[i % Timers::size]];
    timer.timeMinIs(Orb::never);
    timer.timeMinIs(t.times[((i >> 16) + i) & (Timers::size - 1)]);
    ++i;
  }
}
void moveBare(benchmark::State &state) {
  Timers t;
  size_t i = 0;
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(t.timers[t.pick[i % Timers::size]].timeMin());
    benchmark::DoNotOptimize(t.times[((i >> 16) + i) & (Timers::size - 1)]);
    ++i;
  }
}
BENCHMARK(moveInOrder);
BENCHMARK(moveAtRandom);
BENCHMARK(disarmAndArmAtRandom);
BENCHMARK(moveBare);

}  // namespace
