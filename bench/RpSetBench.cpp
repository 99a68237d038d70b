// From the wire bytes of Bootstrap messages to the published RP set: the refresh of a known set, compared with a
// bare loop that parses the same bytes and updates a hash table, and the learning of a new set.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <random>
#include <unordered_map>

#include "agent/ContainerSm.h"

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
using Pax::IpGenAddr;

constexpr uint32_t rpsAGroup = 40;
const Pax::IntfId eth0("default", "eth0");
const IpGenAddr bsrAddress = IpGenAddr::v4(0x0a0000fe);
const IpGenAddr neighbor = IpGenAddr::v4(0x0a000002);

class StillTime : public Orb::Clock, public Orb::Waker {
 public:
  double time = 1000;
  double now() const override { return time; }
  void wakeAt(Orb::TimerWheel &, double) override {}
};

class Routes : public Routing::RouteLookup {
 public:
  Routing::RouteAnswer answer{Routing::RouteAnswer::Kind::via, {{eth0, neighbor}}};
  const Routing::RouteAnswer &lookup(const IpGenAddr &) override { return answer; }
};

class Port : public Pim::IO::PacketPort {
 public:
  using PacketPort::PacketPort;
  void hear(std::span<const uint8_t> payload) {
    receive({eth0, neighbor, Pax::allPimRouters(Pax::AddressFamily::ipv4), payload});
  }
  bool transmit(const Pim::IO::Outgoing &) override { return true; }
};

// The bytes of messages that list `groups` groups of rpsAGroup RPs, four groups per message.
std::vector<std::vector<uint8_t>> messages(uint32_t groups, bool shuffled) {
  std::vector<uint32_t> order(rpsAGroup);
  for (uint32_t i = 0; i < rpsAGroup; ++i) order[i] = i;
  std::mt19937 random(7);
  std::vector<std::vector<uint8_t>> result;
  Kiv::Ptr<Pim::Packet::BootstrapMessage> bsm;
  for (uint32_t group = 0; group < groups; ++group) {
    if (group % 4 == 0) {
      bsm = Pim::Packet::BootstrapMessageIs();
      bsm->bsrAddressIs(bsrAddress);
      bsm->hashMaskLenIs(30);
      bsm->fragmentTagIs(7);
      result.emplace_back();
    }
    if (shuffled) std::shuffle(order.begin(), order.end(), random);
    const auto block = Pim::Packet::BootstrapGroupDataIs({IpGenAddr::v4(0xe1000000 + (group << 8)), 24});
    block->rpCountIs(rpsAGroup);
    block->fragmentRpCountIs(rpsAGroup);
    for (const uint32_t n : order) block->rpEnq({IpGenAddr::v4(0x0b000000 + (group << 10) + n), 150, 0});
    bsm->optionalData()->groupDataEnq(block);
    Pim::Packet::Codec(Pax::AddressFamily::ipv4)
        .encode(*bsm, neighbor, Pax::allPimRouters(Pax::AddressFamily::ipv4), result.back());
  }
  return result;
}

struct Router {
  StillTime time;
  Orb::Random random{1};
  Kiv::Ptr<Pim::Status> pimStatus = Kiv::make<Pim::Status>("default");
  Kiv::Ptr<Routes> routes = Kiv::make<Routes>();
  Kiv::Ptr<Port> port = Kiv::make<Port>(Pax::AddressFamily::ipv4, pimStatus, routes);
  Pim::Bsr::Container container;
  std::unique_ptr<Pim::Bsr::ContainerSm> sm;

  Router() {
    const auto pimIntf = pimStatus->pimIntfIs(eth0);
    pimIntf->mtuIs(2100);
    pimIntf->addressIs(IpGenAddr::v4(0x0a000001));
    pimIntf->neighborIs(neighbor);
    const auto uribStatus = Kiv::make<Flume::Fib::RouteStatus>();
    uribStatus->routesIs(routes);
    container.vrf = "default";
    container.af = Pax::AddressFamily::ipv4;
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
    container.pimCounters = port->messageCounters();
    container.ipAclConfig = Kiv::make<Acl::Input::Config>();
    container.packetPort = port;
    sm = std::make_unique<Pim::Bsr::ContainerSm>(container);
  }
  void hear(const std::vector<std::vector<uint8_t>> &bytes) {
    time.time += 1;
    for (const auto &message : bytes) port->hear(message);
  }
  size_t learned() const { return container.rpCandidateStatus->crpSet().size(); }
};

double perRp(benchmark::State &state, uint32_t groups) {
  return static_cast<double>(state.iterations()) * groups * rpsAGroup;
}

void refresh(benchmark::State &state) {
  const auto groups = static_cast<uint32_t>(state.range(0));
  const auto bytes = messages(groups, state.range(1) != 0);
  Router router;
  router.hear(bytes);
  router.hear(bytes);
  if (router.learned() != groups) state.SkipWithError("not every group is learned");
  const size_t before = allocations;
  for ([[maybe_unused]] auto _ : state) router.hear(bytes);
  state.counters["allocations"] =
      benchmark::Counter(static_cast<double>(allocations - before), benchmark::Counter::kAvgIterations);
  state.counters["perRp"] =
      benchmark::Counter(perRp(state, groups), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(refresh)->ArgNames({"groups", "shuffled"})->Args({4, 0})->Args({40, 0})->Args({40, 1})->Args({400, 0});

void refreshBare(benchmark::State &state) {
  const auto groups = static_cast<uint32_t>(state.range(0));
  const auto bytes = messages(groups, false);
  std::unordered_map<uint32_t, double> expiry;
  double now = 1000;
  const auto pass = [&] {
    now += 1;
    for (const auto &message : bytes) {
      const uint8_t *at = message.data() + 14;
      const uint8_t *end = message.data() + message.size();
      while (at < end) {
        const uint8_t count = at[9];
        at += 12;
        for (uint8_t n = 0; n < count; ++n, at += 10) {
          const uint32_t address = static_cast<uint32_t>(at[2]) << 24 | static_cast<uint32_t>(at[3]) << 16 |
                                   static_cast<uint32_t>(at[4]) << 8 | at[5];
          expiry[address] = now + (at[6] << 8 | at[7]);
        }
      }
    }
  };
  pass();
  for ([[maybe_unused]] auto _ : state) pass();
  benchmark::DoNotOptimize(expiry);
  state.counters["perRp"] =
      benchmark::Counter(perRp(state, groups), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(refreshBare)->ArgName("groups")->Arg(4)->Arg(40)->Arg(400);

void learn(benchmark::State &state) {
  const auto groups = static_cast<uint32_t>(state.range(0));
  const auto bytes = messages(groups, false);
  size_t grown = 0;
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    auto router = std::make_unique<Router>();
    const size_t before = mallinfo2().uordblks;
    state.ResumeTiming();
    router->hear(bytes);
    state.PauseTiming();
    if (router->learned() != groups) state.SkipWithError("not every group is learned");
    grown = mallinfo2().uordblks - before;
    router.reset();
    state.ResumeTiming();
  }
  state.counters["perRp"] =
      benchmark::Counter(perRp(state, groups), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["bytesPerRp"] = static_cast<double>(grown) / groups / rpsAGroup;
}
BENCHMARK(learn)->ArgName("groups")->Arg(40)->Arg(400);

}  // namespace
