/// An agent and the system around it, on virtual time.
#pragma once

#include <memory>

#include "agent/Agent.h"
#include "agent/RootSm.h"
#include "agent/SystemState.h"
#include "config/ConfigSm.h"
#include "engine/PimBsrSm.h"
#include "platform/tracelet/Sinks.h"
#include "tests/support/Addresses.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/FakePort.h"
#include "tests/support/ManualClock.h"

namespace Test {

namespace Bsr = Routing::Pim::Bsr;

class World {
 public:
  /// A VRF as the platform has it, with one PIM interface, eth1, and a neighbour there.
  struct Vrf {
    Vrf(const Addresses &a, std::string vrf) : a(a), name(std::move(vrf)) {
      const auto pimIntf = pimStatus->pimIntfIs(intf("eth1"));
      pimIntf->addressIs(a.onLink(1));
      pimIntf->mtuIs(1500);
      pimIntf->neighborIs(a.onLink(101));
    }
    Pax::IntfId intf(const std::string &intfName) const { return {name, intfName}; }
    void hear(const Kiv::Ptr<Pim::Packet::BootstrapMessage> &bsm) {
      routes->answer[bsm->bsrAddress()] = {Routing::RouteAnswer::Kind::via, {{intf("eth1"), a.onLink(101)}}};
      port->hear(intf("eth1"), a.onLink(101), Pax::allPimRouters(a.af), *bsm);
    }
    size_t sent() const { return port->sent.size() + port->advertised.size(); }

    const Addresses a;
    const std::string name;
    const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces = Kiv::make<Ip::AllIntfStatusDir>();
    const Kiv::Ptr<Pim::Status> pimStatus = Kiv::make<Pim::Status>(name);
    const Kiv::Ptr<FakeRoutes> routes = Kiv::make<FakeRoutes>();
    const Kiv::Ptr<FakePort> port = Kiv::make<FakePort>(a.af, pimStatus, routes);
  };

  explicit World(const Addresses &addresses) : a(addresses), random(1), system(store, a.af) {}

  /// The VRF exists, and PIM runs there.
  Vrf &add(const std::string &name) {
    system.vrfIs(name, name == L3::defaultVrf ? "" : "netns-" + name);
    system.namespaceExistsIs(name, true);
    return pimIs(name);
  }
  Vrf &pimIs(const std::string &name) {
    auto &vrf = vrfs_[name];
    if (!vrf) vrf = std::make_unique<Vrf>(a, name);
    system.pimIs(name, {vrf->interfaces, vrf->pimStatus, vrf->routes, vrf->port});
    return *vrf;
  }
  void start() {
    agent = Bsr::makeAgent(a.af, {store, time, time, random});
    agent->doInit();
  }
  void stop() { agent.reset(); }
  void standbyIs(bool standby) { system.standbyIs(standby); }
  void advance(double seconds) { time.advanceTo(time.now() + seconds); }

  /// An interface lo<n> with the address host(n).
  Pax::IntfId loopbackIs(const std::string &name, uint32_t n) {
    Vrf &vrf = *vrfs_.at(name);
    const Pax::IntfId intfId = vrf.intf("lo" + std::to_string(n));
    vrf.routes->answer[a.host(n)] = {Routing::RouteAnswer::Kind::local, {}};
    vrf.interfaces->intfStatusIs(intfId)->ipAddrIs(a.host(n));
    return intfId;
  }
  /// Candidate BSR of the zone, with host(n) as its address.
  void candidateIs(const std::string &name, const Pax::IpGenPrefix &zone, uint32_t n, uint16_t priority = 64) {
    const auto group = config(name).bsrCandidateConfigIs(loopbackIs(name, n))->groupIs(zone);
    group->hashMaskLenIs(30);
    group->priorityIs(priority);
  }
  void candidateRpIs(const std::string &name, const Pax::IpGenPrefix &range, uint32_t n) {
    const auto candidate = config(name).rpCandidateConfigIs(loopbackIs(name, n));
    candidate->groupRangeOptionsIs(range)->priorityIs(192);
    candidate->groupRangeIs(range);
  }
  Bsr::Config &config(const std::string &name) { return *system.configColl->vrfConfigIs(name); }
  Kiv::Ptr<Bsr::Status> status(const std::string &name) const { return system.statusColl->vrfStatus(name); }
  Kiv::Ptr<Bsr::ElectedBsrStatus> bsr(const std::string &name) const {
    return status(name)->bootstrapRouter(a.global());
  }
  bool runs(const std::string &name) const { return agent->containerSm(name) != nullptr; }
  /// Seconds that a lone candidate waits before it is the BSR.
  double bestDelay() const { return a.ipv4() ? 5 : 10; }

  const Addresses a;
  ManualTime time;
  Orb::Random random;
  Statehub::Store store;
  Bsr::SystemState system;
  std::unique_ptr<Bsr::Agent> agent;

 private:
  std::map<std::string, std::unique_ptr<Vrf>> vrfs_;
};

/// A suite that runs for both families.
struct BothFamilies : testing::TestWithParam<Addresses> {
  World w{GetParam()};
  const Addresses a = w.a;
};
#define FOR_BOTH_FAMILIES(suite)                                                     \
  INSTANTIATE_TEST_SUITE_P(Families, suite, testing::Values(Test::ipv4, Test::ipv6), \
                           [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; })

}  // namespace Test
