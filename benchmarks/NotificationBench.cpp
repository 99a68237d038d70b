// Writing an attribute with no, one and five reactors, compared with a bare loop that writes a number and calls as
// many virtual functions.

#include <benchmark/benchmark.h>

#include <deque>
#include <memory>

#include "platform/kiv/ReactorOf.h"
#include "platform/pim/RpCandidateStatus.h"

namespace {

namespace Pim = Routing::Pim;

struct Counting {
  uint64_t told = 0;
};

class Reactor : public Kiv::ReactorOf<Pim::RpCandidate, Counting> {
 public:
  using ReactorOf::ReactorOf;
  void onExpires() override { ++owner_.told; }
};

void notify(benchmark::State &state) {
  Counting counting;
  const auto rp = Kiv::make<Pim::RpCandidate>();
  std::deque<Reactor> reactors;
  for (int64_t n = 0; n < state.range(0); ++n) reactors.emplace_back(counting, rp);
  double time = 0;
  for ([[maybe_unused]] auto _ : state) {
    rp->expiresIs(time += 1);
    benchmark::ClobberMemory();
  }
  if (counting.told != static_cast<uint64_t>(state.iterations() * state.range(0))) state.SkipWithError("not all told");
}

struct Listener {
  virtual ~Listener() = default;
  virtual void onExpires() = 0;
};
struct CountingListener : Listener {
  explicit CountingListener(Counting &counting) : counting(counting) {}
  void onExpires() override { ++counting.told; }
  Counting &counting;
};

void notifyBare(benchmark::State &state) {
  Counting counting;
  std::vector<std::unique_ptr<Listener>> listeners;
  for (int64_t n = 0; n < state.range(0); ++n) listeners.push_back(std::make_unique<CountingListener>(counting));
  double time = 0, expires = 0;
  for ([[maybe_unused]] auto _ : state) {
    time += 1;
    if (expires != time) {
      expires = time;
      for (const auto &listener : listeners) listener->onExpires();
    }
    benchmark::DoNotOptimize(expires);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(notify)->Arg(0)->Arg(1)->Arg(5);
BENCHMARK(notifyBare)->Arg(0)->Arg(1)->Arg(5);

}  // namespace
