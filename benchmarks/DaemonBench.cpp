// Saving the state and showing the RP set of a VRF that has learned many RPs. Compared with a bare loop that only
// prints the RPs into one text.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <utility>

#include "daemon/state/StateFile.h"
#include "view/Show.h"

namespace {

namespace Pim = Routing::Pim;
namespace Bsr = Routing::Pim::Bsr;
using Pax::IpGenAddr;

class Time : public Orb::Clock, public Orb::Waker {
 public:
  double now() const override { return at; }
  void wakeAt(Orb::TimerWheel &, double) override {}
  double at = 1000;
};

// What a thread does in a daemon.
struct Beside : Orb::Background {
  void start(std::function<void()> work, std::function<void()> done) override {
    work_ = std::move(work);
    done_ = std::move(done);
  }
  void finish() override {
    if (!isBusy()) return;
    std::exchange(work_, nullptr)();
    done_();
  }
  bool isBusy() const { return bool(work_); }

 private:
  std::function<void()> work_, done_;
};

// A file to save to, which goes at the end.
struct Place {
  Place() {
    if (mkdtemp(directory)) path = std::string(directory) + "/state";
  }
  ~Place() {
    unlink(path.c_str());
    rmdir(directory);
  }
  bool isSaved() const { return access(path.c_str(), R_OK) == 0; }
  char directory[20] = "/tmp/state-XXXXXX";
  std::string path;
};

struct Learned {
  explicit Learned(const benchmark::State &state) {
    const auto zone = Pax::allGroups(Pax::AddressFamily::ipv4);
    publishedColl->vrfStatusIs("default", published);
    status->afIs(Pax::AddressFamily::ipv4);
    status->bootstrapRouterIs(zone)->ipAddrIs(IpGenAddr::v4(0x0a000001));
    const auto sets = status->crpStatusIs(zone)->statusIs("");
    for (uint32_t n = 0; n < state.range(0); ++n) {
      const Pax::IpGenPrefix group(IpGenAddr::v4(0xe1000000 + (n / 50 << 8)), 24);
      const IpGenAddr address = IpGenAddr::v4(0x0b000000 + n);
      for (const auto &set : {sets->crpSetIs(group), published->crpSetIs(group)}) {
        const auto rp = set->rpIs(address);
        rp->holdTimeIs(150);
        rp->setupTimeIs(900);
        rp->expiresIs(1150);
      }
    }
  }
  Kiv::Ptr<Bsr::StatusColl> statusColl = Kiv::make<Bsr::StatusColl>();
  Kiv::Ptr<Bsr::Status> status = statusColl->vrfStatusIs("default");
  Kiv::Ptr<Pim::RpCandidateStatusColl> publishedColl = Kiv::make<Pim::RpCandidateStatusColl>();
  Kiv::Ptr<Pim::RpCandidateStatus> published = Kiv::make<Pim::RpCandidateStatus>("default");
};

// A daemon's state file.
struct Saver {
  explicit Saver(const benchmark::State &state) : learned(state) {}
  const Learned learned;
  const Place place;
  Time time;
  Beside beside;
  const Kiv::Ptr<Orb::TimerWheel> wheel = Kiv::make<Orb::TimerWheel>(time, time);
  Bsr::StateFile file{
      {place.path, Pax::AddressFamily::ipv4, "this"}, {learned.statusColl, learned.publishedColl}, time, wheel, beside};
};

// A save that is waited for, as at the end.
void save(benchmark::State &state) {
  Saver saver(state);
  const auto bsr = saver.learned.status->bootstrapRouter(Pax::allGroups(Pax::AddressFamily::ipv4));
  uint16_t priority = 0;
  for ([[maybe_unused]] auto _ : state) {
    bsr->priorityIs(++priority % 256);
    saver.file.save();
  }
  if (!saver.place.isSaved()) state.SkipWithError("nothing is saved");
}

// The longest turn of the loop while a change is saved.
void saveSlice(benchmark::State &state) {
  using Stopwatch = std::chrono::steady_clock;
  Saver saver(state);
  const Pax::IpGenPrefix zone(IpGenAddr::v4(0xef000000), 8);
  for ([[maybe_unused]] auto _ : state) {
    saver.learned.status->bootstrapRouter(zone) ? saver.learned.status->bootstrapRouterDel(zone)
                                                : void(saver.learned.status->bootstrapRouterIs(zone));
    saver.time.at += 10;
    Stopwatch::duration longest{};
    while (!saver.beside.isBusy()) {
      const auto begin = Stopwatch::now();
      saver.wheel->run();
      longest = std::max(longest, Stopwatch::now() - begin);
    }
    saver.beside.finish();
    state.SetIterationTime(std::chrono::duration<double>(longest).count());
  }
  if (!saver.place.isSaved()) state.SkipWithError("nothing is saved");
}

void show(benchmark::State &state) {
  const Learned learned(state);
  Bsr::VrfView view;
  view.vrf = "default";
  view.af = Pax::AddressFamily::ipv4;
  view.now = 1000;
  view.status = learned.status;
  size_t rows = 0;
  for ([[maybe_unused]] auto _ : state) {
    const auto table = Bsr::rowsOf("rp-set", {view});
    rows = table.size();
    benchmark::DoNotOptimize(table.dump());
  }
  if (rows != static_cast<size_t>(state.range(0))) state.SkipWithError("not every RP has a row");
}

void printBare(benchmark::State &state) {
  const Learned learned(state);
  for ([[maybe_unused]] auto _ : state) {
    std::ostringstream text;
    for (const auto &[prefix, set] : learned.published->crpSet()) {
      for (const auto &[address, rp] : set->rp()) {
        text << prefix << ' ' << address << ' ' << rp->holdTime() << ' ' << unsigned(rp->priority()) << ' '
             << rp->setupTime() << ' ' << rp->expires() << '\n';
      }
    }
    benchmark::DoNotOptimize(text.str());
  }
}

void sizes(benchmark::internal::Benchmark *bench) {
  bench->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
}
BENCHMARK(save)->Apply(sizes)->UseRealTime();
BENCHMARK(saveSlice)->Apply(sizes)->UseManualTime();
BENCHMARK(show)->Apply(sizes);
BENCHMARK(printBare)->Apply(sizes);

}  // namespace
