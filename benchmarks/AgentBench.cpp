// An agent with many VRFs, from its start until all of them run, compared with a bare loop that allocates what the
// same machines hold: an entity and a timer per zone, a wheel and a status per VRF. Arguments: VRFs, and zones in
// each in which this router is a candidate BSR.

#include <benchmark/benchmark.h>

#include "agent/Agent.h"
#include "agent/SystemState.h"

namespace {

namespace Pim = Routing::Pim;
namespace Bsr = Routing::Pim::Bsr;

class Time : public Orb::Clock, public Orb::Waker {
 public:
  double now() const override { return 1000; }
  void wakeAt(Orb::TimerWheel &, double) override {}
};

class NoRoutes : public Routing::RouteLookup {
 public:
  const Routing::RouteAnswer &lookup(const Pax::IpGenAddr &) override { return none_; }

 private:
  const Routing::RouteAnswer none_{};
};

class NoPort : public Pim::IO::PacketPort {
 public:
  using PacketPort::PacketPort;

 protected:
  bool transmit(const Pim::IO::Outgoing &) override { return true; }
};

Pax::IpGenPrefix zone(uint32_t n) {
  return n == 0 ? Pax::allGroups(Pax::AddressFamily::ipv4)
                : Pax::IpGenPrefix(Pax::IpGenAddr::v4(0xef000000 + (n << 16)), 16);
}

// A store with everything that the agent mounts.
class System {
 public:
  System(uint32_t vrfs, uint32_t zones) : state_(store_, Pax::AddressFamily::ipv4) {
    for (uint32_t i = 0; i < vrfs; ++i) vrfIs("vrf" + std::to_string(i), zones);
  }
  std::unique_ptr<Bsr::Agent> start() {
    auto agent = Bsr::makeAgent(state_.af, {store_, time_, time_, random_});
    agent->doInit();
    return agent;
  }
  const Bsr::SystemState &state() const { return state_; }

 private:
  void vrfIs(const std::string &vrf, uint32_t zones) {
    const auto interfaces = Kiv::make<Ip::AllIntfStatusDir>();
    const Pax::IntfId loopback(vrf, "lo");
    interfaces->intfStatusIs(loopback)->ipAddrIs(Pax::IpGenAddr::v4(0x0a000001));
    const auto pimStatus = Kiv::make<Pim::Status>(vrf);
    const auto routes = Kiv::make<NoRoutes>();
    state_.vrfIs(vrf, vrf);
    const auto candidate = state_.configColl->vrfConfigIs(vrf)->bsrCandidateConfigIs(loopback);
    for (uint32_t n = 0; n < zones; ++n) {
      const auto group = candidate->groupIs(zone(n));
      group->hashMaskLenIs(30);
      group->priorityIs(64);
    }
    state_.namespaceExistsIs(vrf, true);
    state_.pimIs(vrf, {interfaces, pimStatus, routes, Kiv::make<NoPort>(state_.af, pimStatus, routes)});
  }

  Time time_;
  Orb::Random random_{1};
  Statehub::Store store_;
  Bsr::SystemState state_;
};

void startToRunning(benchmark::State &state) {
  const auto vrfs = static_cast<uint32_t>(state.range(0)), zones = static_cast<uint32_t>(state.range(1));
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    auto system = std::make_unique<System>(vrfs, zones);
    state.ResumeTiming();
    auto agent = system->start();
    state.PauseTiming();
    size_t running = 0;
    for (const auto &[vrf, sm] : agent->containerSm()) {
      running += system->state().statusColl->vrfStatus(vrf)->cbsr().size() == zones;
    }
    if (running != vrfs) state.SkipWithError("not every VRF runs");
    agent.reset();
    system.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(startToRunning)
    ->Args({1, 10})
    ->Args({64, 10})
    ->Args({256, 10})
    ->Args({256, 1})
    ->Unit(benchmark::kMillisecond);

void vrfsBare(benchmark::State &state) {
  class Idle : public Orb::Timer {
   public:
    using Timer::Timer;

   protected:
    void onTime() override {}
  };
  const auto vrfs = static_cast<uint32_t>(state.range(0)), zones = static_cast<uint32_t>(state.range(1));
  Time time;
  for ([[maybe_unused]] auto _ : state) {
    std::vector<Kiv::Ptr<Orb::TimerWheel>> wheels;
    std::vector<std::unique_ptr<Idle>> timers;
    std::vector<Kiv::Ptr<Bsr::Status>> statuses;
    for (uint32_t vrf = 0; vrf < vrfs; ++vrf) {
      wheels.push_back(Kiv::make<Orb::TimerWheel>(time, time));
      statuses.push_back(Kiv::make<Bsr::Status>(L3::VrfName("vrf" + std::to_string(vrf))));
      for (uint32_t n = 0; n < zones; ++n) {
        statuses.back()->cbsrIs(zone(n));
        statuses.back()->bootstrapRouterIs(zone(n));
        timers.push_back(std::make_unique<Idle>(wheels.back()));
        timers.back()->timeMinIs(1005 + n);
      }
    }
    benchmark::DoNotOptimize(timers.data());
  }
}
BENCHMARK(vrfsBare)->Args({1, 10})->Args({64, 10})->Args({256, 10})->Args({256, 1})->Unit(benchmark::kMillisecond);

}  // namespace
