// From the wire bytes of Bootstrap messages to the published RP set: the refresh of a known set, compared with a
// bare loop that parses the same bytes and updates a hash table, and the learning of a new set.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>
#include <unordered_map>

#include "agent/ContainerSm.h"
#include "view/Figures.h"

namespace {
size_t allocations = 0;
}

// Counts allocations: in steady state there are none.
void *operator new(size_t size) {
  ++allocations;
  return std::malloc(size);
}
void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, size_t) noexcept { std::free(memory); }

namespace {

namespace Pim = Routing::Pim;
using Pax::AddressFamily;
using Pax::IpGenAddr;

const Pax::IntfId eth0("default", "eth0");

// The n-th address of a kind, in either family.
IpGenAddr routable(AddressFamily family, uint32_t n) {
  return family == AddressFamily::ipv4 ? IpGenAddr::v4(0x0a000000 + n) : IpGenAddr::v6(0x20010db800000000, n);
}
IpGenAddr onLink(AddressFamily family, uint32_t n) {
  return family == AddressFamily::ipv4 ? IpGenAddr::v4(0xc0a80000 + n) : IpGenAddr::v6(0xfe80000000000000, n);
}
Pax::IpGenPrefix groupOf(AddressFamily family, uint32_t n) {
  if (family == AddressFamily::ipv4) return {IpGenAddr::v4(0xe1000000 + (n << 8)), 24};
  return {IpGenAddr::v6(0xff3e000000000000 + (n << 8), 0), 56};
}

class StillTime : public Orb::Clock, public Orb::Waker {
 public:
  double time = 1000;
  Orb::TimerWheel *wheel = nullptr;  // the last that asked: the VRF's machines have one
  double now() const override { return time; }
  void wakeAt(Orb::TimerWheel &asks, double) override { wheel = &asks; }
};

class Routes : public Routing::RouteLookup {
 public:
  Routing::RouteAnswer answer;
  const Routing::RouteAnswer &lookup(const IpGenAddr &) override { return answer; }
};

class Port : public Pim::IO::PacketPort {
 public:
  Port(AddressFamily family, const Kiv::Ptr<const Pim::Status> &status, const Kiv::Ptr<Routing::RouteLookup> &routes)
      : PacketPort(family, status, routes), family_(family) {}
  void hear(std::span<const uint8_t> payload) {
    receive({eth0, onLink(family_, 2), Pax::allPimRouters(family_), payload});
  }
  bool transmit(const Pim::IO::Outgoing &) override { return true; }

 private:
  const AddressFamily family_;
};

// RPs in groups of at most 50, and two groups a message in IPv4, one in IPv6, as the MTU asks for.
struct Shape {
  explicit Shape(const benchmark::State &state)
      : rps(static_cast<uint32_t>(state.range(0))), rpsAGroup(std::min(rps, 50u)), groups(rps / rpsAGroup) {}
  const uint32_t rps, rpsAGroup, groups;
};

// The bytes of messages that list them.
std::vector<std::vector<uint8_t>> messages(AddressFamily family, const Shape &shape, bool shuffled = false) {
  const uint32_t groupsAMessage = family == AddressFamily::ipv4 ? 2 : 1;
  std::vector<uint32_t> order(shape.rpsAGroup);
  for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  std::mt19937 random(7);
  std::vector<std::vector<uint8_t>> result;
  Kiv::Ptr<Pim::Packet::BootstrapMessage> bsm;
  for (uint32_t group = 0; group < shape.groups; ++group) {
    if (group % groupsAMessage == 0) {
      bsm = Pim::Packet::BootstrapMessageIs();
      bsm->bsrAddressIs(routable(family, 1));
      bsm->hashMaskLenIs(30);
      bsm->fragmentTagIs(7);
      result.emplace_back();
    }
    if (shuffled) std::shuffle(order.begin(), order.end(), random);
    const auto block = Pim::Packet::BootstrapGroupDataIs(groupOf(family, group));
    block->rpCountIs(static_cast<uint8_t>(shape.rpsAGroup));
    block->fragmentRpCountIs(static_cast<uint8_t>(shape.rpsAGroup));
    for (const uint32_t n : order) block->rpEnq({routable(family, 0x1000000 + (group << 10) + n), 150, 0});
    bsm->optionalData()->groupDataEnq(block);
    Pim::Packet::Codec(family).encode(*bsm, onLink(family, 2), Pax::allPimRouters(family), result.back());
  }
  return result;
}

struct Router {
  StillTime time;
  Orb::Random random{1};
  Kiv::Ptr<Pim::Status> pimStatus = Kiv::make<Pim::Status>("default");
  Kiv::Ptr<Routes> routes = Kiv::make<Routes>();
  Kiv::Ptr<Port> port;
  Pim::Bsr::Container container;
  std::unique_ptr<Pim::Bsr::ContainerSm> sm;

  explicit Router(AddressFamily family) : port(Kiv::make<Port>(family, pimStatus, routes)) {
    routes->answer = {Routing::RouteAnswer::Kind::via, {{eth0, onLink(family, 2)}}};
    const auto pimIntf = pimStatus->pimIntfIs(eth0);
    pimIntf->mtuIs(2100);
    pimIntf->addressIs(onLink(family, 1));
    pimIntf->neighborIs(onLink(family, 2));
    const auto uribStatus = Kiv::make<Flume::Fib6::RouteStatus>();  // fits either family
    uribStatus->routesIs(routes);
    container.vrf = "default";
    container.af = family;
    container.clock = &time;
    container.waker = &time;
    container.random = &random;
    container.config = Kiv::make<Pim::Bsr::Config>();
    container.configColl = Kiv::make<Pim::Bsr::ConfigColl>();
    container.vrfIntfConfig = Kiv::make<Pim::Bsr::VrfIntfConfig>("default");
    container.clearConfig = Kiv::make<Pim::Bsr::ClearConfig>();
    container.status = Kiv::make<Pim::Bsr::Status>(L3::VrfName("default"));
    container.rpCandidateStatus = Kiv::make<Pim::RpCandidateStatus>("default");
    container.pimStatus = pimStatus;
    container.vrfIpStatus = Kiv::make<Ip::AllIntfStatusDir>();
    container.uribStatus = uribStatus;
    container.urib6Status = uribStatus;
    container.pimCounters = port->messageCounters();
    container.ipAclConfig = Kiv::make<Acl::Input::Config>();
    container.packetPort = port;
    sm = std::make_unique<Pim::Bsr::ContainerSm>(container);
  }
  void hear(const std::vector<std::vector<uint8_t>> &bytes) {
    time.time += 1;
    for (const auto &message : bytes) port->hear(message);
  }
  size_t learned() const {
    size_t count = 0;
    for (const auto &[prefix, set] : container.rpCandidateStatus->crpSet()) count += set->rp().size();
    return count;
  }
};

void perRp(benchmark::State &state, const Shape &shape) {
  state.counters["perRp"] =
      benchmark::Counter(shape.rps, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void refreshing(benchmark::State &state, AddressFamily family, bool shuffled) {
  const Shape shape(state);
  const auto bytes = messages(family, shape, shuffled);
  Router router(family);
  for (int round = 0; round < 3; ++round) router.hear(bytes);
  if (router.learned() != shape.rps) state.SkipWithError("not every RP is learned");
  const size_t before = allocations;
  for ([[maybe_unused]] auto _ : state) router.hear(bytes);
  state.counters["allocations"] =
      benchmark::Counter(static_cast<double>(allocations - before), benchmark::Counter::kAvgIterations);
  perRp(state, shape);
}

template <AddressFamily family>
void refresh(benchmark::State &state) {
  refreshing(state, family, false);
}
// The RPs of each group in another order than they were learned in.
template <AddressFamily family>
void refreshShuffled(benchmark::State &state) {
  refreshing(state, family, true);
}

template <AddressFamily family>
void refreshBare(benchmark::State &state) {
  const Shape shape(state);
  const auto bytes = messages(family, shape);
  constexpr size_t size = family == AddressFamily::ipv4 ? 4 : 16;
  using Key = std::conditional_t<family == AddressFamily::ipv4, uint32_t, IpGenAddr>;
  std::unordered_map<Key, double> expiry;
  double now = 1000;
  const auto word = [](const uint8_t *at) {
    uint32_t result;
    std::memcpy(&result, at, sizeof result);
    return __builtin_bswap32(result);
  };
  const auto long_ = [&](const uint8_t *at) { return uint64_t{word(at)} << 32 | word(at + 4); };
  const auto pass = [&] {
    now += 1;
    for (const auto &message : bytes) {
      const uint8_t *at = message.data() + 8 + 2 + size;
      const uint8_t *end = message.data() + message.size();
      while (at < end) {
        const uint8_t count = at[4 + size + 1];
        at += 4 + size + 4;
        for (uint8_t n = 0; n < count; ++n, at += 2 + size + 4) {
          double &expires = [&]() -> double & {
            if constexpr (family == AddressFamily::ipv4)
              return expiry[word(at + 2)];
            else
              return expiry[IpGenAddr::v6(long_(at + 2), long_(at + 10))];
          }();
          expires = now + (at[2 + size] << 8 | at[3 + size]);
        }
      }
    }
  };
  pass();
  if (expiry.size() != shape.rps) state.SkipWithError("not every RP is found");
  for ([[maybe_unused]] auto _ : state) pass();
  benchmark::DoNotOptimize(expiry);
  perRp(state, shape);
}

template <AddressFamily family>
void learn(benchmark::State &state) {
  const Shape shape(state);
  const auto bytes = messages(family, shape);
  size_t grown = 0;
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    auto router = std::make_unique<Router>(family);
    const size_t before = mallinfo2().uordblks;
    state.ResumeTiming();
    router->hear(bytes);
    state.PauseTiming();
    if (router->learned() != shape.rps) state.SkipWithError("not every RP is learned");
    grown = mallinfo2().uordblks - before;
    router.reset();
    state.ResumeTiming();
  }
  perRp(state, shape);
  state.counters["bytesPerRp"] = static_cast<double>(grown) / shape.rps;
}

// The turn of the loop in which the hold times of all RPs end.
template <AddressFamily family>
void expireTogether(benchmark::State &state) {
  const Shape shape(state);
  const auto bytes = messages(family, shape);
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    auto router = std::make_unique<Router>(family);
    router->hear(bytes);
    router->time.time += 151;
    state.ResumeTiming();
    router->time.wheel->run();
    state.PauseTiming();
    router.reset();
    state.ResumeTiming();
  }
}

// The longest of the slices in which the metrics of all RPs are read.
void readMetrics(benchmark::State &state) {
  using Stopwatch = std::chrono::steady_clock;
  const Shape shape(state);
  Router router(AddressFamily::ipv4);
  router.hear(messages(AddressFamily::ipv4, shape));
  Pim::Bsr::VrfView view;
  view.vrf = "default";
  view.af = AddressFamily::ipv4;
  view.now = router.time.time;
  view.status = router.container.status;
  view.pimStatus = router.pimStatus;
  view.bsrSm = &router.sm->bsrSm();
  for ([[maybe_unused]] auto _ : state) {
    Pim::Bsr::VrfFigures figures("default");
    Stopwatch::duration longest{};
    for (bool more = true; more;) {
      const auto begin = Stopwatch::now();
      more = figures.readOn(view);
      longest = std::max(longest, Stopwatch::now() - begin);
    }
    if (figures.zones.begin()->second.rps[Pim::Mode::sparse] != shape.rps) state.SkipWithError("not every RP is read");
    state.SetIterationTime(std::chrono::duration<double>(longest).count());
  }
}

void sizes(benchmark::internal::Benchmark *bench) {
  for (const int64_t rps : {10, 100, 1000, 10000, 16000}) bench->Arg(rps);
}

#define FOR_BOTH_FAMILIES(name)                       \
  BENCHMARK(name<AddressFamily::ipv4>)->Apply(sizes); \
  BENCHMARK(name<AddressFamily::ipv6>)->Apply(sizes)
FOR_BOTH_FAMILIES(refresh);
FOR_BOTH_FAMILIES(refreshBare);
FOR_BOTH_FAMILIES(learn);
BENCHMARK(refreshShuffled<AddressFamily::ipv4>)->Arg(1000)->Arg(16000);
BENCHMARK(expireTogether<AddressFamily::ipv4>)->Arg(16000)->Unit(benchmark::kMillisecond);
BENCHMARK(readMetrics)->Arg(16000)->UseManualTime();

}  // namespace
