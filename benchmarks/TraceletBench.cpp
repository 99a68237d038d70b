// A trace statement that is off, compared with the same loop without it.

#include <benchmark/benchmark.h>

#include "platform/tracelet/Tracelet.h"

namespace {

Tracelet::Module trace("TraceletBench");

void traceOff(benchmark::State &state) {
  uint32_t value = 0;
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(++value);
    TRACELET(trace, 9, "the value is " << value);
  }
}
void traceBare(benchmark::State &state) {
  uint32_t value = 0;
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(++value);
}
BENCHMARK(traceOff);
BENCHMARK(traceBare);

}  // namespace
