// What one accepted Bootstrap message takes beside much that is held: it should be the same as beside nothing.

#include <benchmark/benchmark.h>

#include "agent/Agent.h"
#include "engine/PimBsrSm.h"
#include "model/InternalStatus.h"
#include "platform/sim/Network.h"
#include "sim/Host.h"

namespace {

using Pax::IpGenAddr;
using Pax::IpGenPrefix;
using Bsm = Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage>;
namespace Bsr = Routing::Pim::Bsr;

constexpr uint32_t rangesOfAZone = 4;

// Each zone is a /24 in 239.0.0.0/8, and has its ranges inside.
IpGenPrefix zoneOf(uint32_t n) { return {IpGenAddr::v4(0xef000000 + (n << 8)), 24}; }

struct Router {
  explicit Router(uint32_t zones) {
    network.linkIs("link", {"router", "other"});
    host.start();
    network.time().runFor(10);
    for (uint32_t n = 0; n < zones; ++n) hear(message(n, 150));
  }
  Bsr::PimBsrSm &engine() const { return host.agent().containerSm("default")->bsrSm(); }
  void hear(const Bsm &bsm) const {
    Bsr::PimBsmStatus &status = *engine().bsmStatus();
    status.firstGroupIs(bsm->groupData().front());
    status.rxBsmIs(nullptr);
    status.rxBsmIs(bsm);
  }
  static Bsm message(uint32_t zone, uint16_t holdTime, uint32_t firstRange = 0) {
    const Bsm bsm = Routing::Pim::Packet::BootstrapMessageIs();
    bsm->bsrAddressIs(IpGenAddr::v4(0x0a000001));
    bsm->hashMaskLenIs(30);
    for (uint32_t n = 0; n <= rangesOfAZone; ++n) {
      const uint32_t first = zoneOf(zone).address().v4() + 16 * (firstRange + n);
      const IpGenPrefix prefix = n == 0 ? zoneOf(zone) : IpGenPrefix(IpGenAddr::v4(first), 28);
      const auto block = Routing::Pim::Packet::BootstrapGroupDataIs(prefix);
      block->adminScopeIs(n == 0);
      if (n > 0) block->rpListIs({{IpGenAddr::v4(0x0a000100 + n), holdTime, 0}});
      block->rpCountIs(static_cast<uint8_t>(block->rpList().size()));
      block->fragmentRpCountIs(block->rpCount());
      bsm->optionalData()->groupDataEnq(block);
    }
    return bsm;
  }

  Sim::Network network{Pax::AddressFamily::ipv4, 1};
  Sim::Host host{network.router("router")};
};

void knownZone(benchmark::State &state) {
  Router router(static_cast<uint32_t>(state.range(0)));
  const Bsm bsm = Router::message(5000, 150);
  for ([[maybe_unused]] auto _ : state) router.hear(bsm);
}

void rangesThatComeAndGo(benchmark::State &state) {
  Router router(static_cast<uint32_t>(state.range(0)));
  const Bsm come = Router::message(5000, 150, 5), go = Router::message(5000, 0, 5);
  for ([[maybe_unused]] auto _ : state) {
    router.hear(come);
    router.hear(go);
  }
}

void zoneThatComesAndGoes(benchmark::State &state) {
  Router router(static_cast<uint32_t>(state.range(0)));
  const Bsm bsm = Router::message(5000, 150);
  for ([[maybe_unused]] auto _ : state) {
    router.hear(bsm);
    router.engine().bsrStatus()->bootstrapRouterDel(zoneOf(5000));
    router.engine().bsrStatus()->crpStatusDel(zoneOf(5000));
    router.engine().nonCandidateSmDel(zoneOf(5000));
  }
}

// A sender that never changes its tag and has a new range in each message. All of them are kept as long as they fit.
void everNewRanges(benchmark::State &state) {
  std::vector<Bsm> messages;
  for (uint32_t n = 0; n < 20000; ++n) {
    const Bsm bsm = Router::message(n, 150);
    bsm->optionalData()->groupData().front()->adminScopeIs(false);
    messages.push_back(bsm);
  }
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    Router fresh(0);
    state.ResumeTiming();
    for (auto n = 0; n < state.range(0); ++n) fresh.hear(messages[static_cast<size_t>(n)]);
  }
  state.counters["perMessage"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(state.range(0)),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

BENCHMARK(everNewRanges)->ArgName("messages")->Arg(100)->Arg(1000)->Arg(20000);
BENCHMARK(knownZone)->ArgName("zonesHeld")->Arg(0)->Arg(999);
BENCHMARK(rangesThatComeAndGo)->ArgName("zonesHeld")->Arg(0)->Arg(999);
BENCHMARK(zoneThatComesAndGoes)->ArgName("zonesHeld")->Arg(0)->Arg(999);

}  // namespace
