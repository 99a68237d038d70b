// Agents that live through whatever may happen to a router, and agree in the end.
#include <gtest/gtest.h>

#include "tests/sim/Story.h"
#include "tests/support/PlatformVrf.h"

namespace Test {
namespace {

// Five boxes with two VRFs each, a ring of routers in either; what happens comes from the seed.
class Life : public testing::TestWithParam<uint64_t> {
 protected:
  static constexpr uint32_t boxes = 5;

  Life() : story(GetParam() % 2 == 0 ? ipv4 : ipv6, GetParam()), random(GetParam()) {
    for (const std::string vrf : {"", "blue"}) {
      const auto name = [&](uint32_t box) { return "r" + std::to_string(box % boxes) + vrf; };
      for (uint32_t box = 0; box < boxes; ++box) story.network.router(name(box), vrf.empty() ? L3::defaultVrf : vrf);
      for (uint32_t box = 0; box < boxes; ++box) {
        story.network.linkIs(name(box) + "-" + name(box + 1), {name(box), name(box + 1)});
      }
      story.network.linkIs("lan" + vrf, Sim::LinkParameters{});
    }
    for (uint32_t box = 0; box < boxes; ++box) {
      hosts.push_back(std::make_unique<Sim::Host>(story.network.router("r" + std::to_string(box))));
      hosts.back()->vrfIs(story.network.router("r" + std::to_string(box) + "blue"));
      hosts.back()->start();
      configureAll(box);
    }
  }

  // Two candidate BSRs of everything, one of a scope, two candidate RPs.
  void configureAll(uint32_t box) {
    for (Sim::Router *router : hosts[box]->vrfs()) {
      const auto priority = static_cast<uint16_t>(60 + box);
      if (box == 0 || box == 3) candidateBsrIs(config(box, *router), loopback(*router), global, priority);
      if (box == 4) candidateBsrIs(config(box, *router), loopback(*router), scope, priority);
      if (box != 1 && box != 2) continue;
      const auto rp = config(box, *router).rpCandidateConfigIs(loopback(*router));
      rp->groupRangeOptionsIs(story.addresses.group(1))->priorityIs(7);
      rp->groupRangeIs(story.addresses.group(1));
    }
  }
  static Pax::IntfId loopback(const Sim::Router &router) { return {router.vrf(), "lo"}; }
  Bsr::Config &config(uint32_t box, const Sim::Router &router) {
    return *hosts[box]->system().configColl->vrfConfigIs(router.vrf());
  }
  bool once(uint32_t chances) { return random.next() % chances == 0; }
  void vrfIs(Sim::Host &host, const Sim::Router &router) {
    const bool isDefault = router.vrf() == L3::defaultVrf;
    host.system().vrfIs(router.vrf(), isDefault ? "" : router.vrf());
    host.system().namespaceExistsIs(router.vrf(), true);
    if (!host.runs() || host.system().pimGlobalStatus->enabledVrf(router.vrf())) return;
    host.system().pimIs(router.vrf(), {router.allIntfStatusDir(), router.pimStatus(), router.routes(), router.port()});
  }
  void restart(Sim::Host &host) {
    for (const Sim::Router *router : host.vrfs()) vrfIs(host, *router);
    host.start();
  }

  void somethingHappens() {
    const auto box = static_cast<uint32_t>(random.next() % boxes);
    Sim::Host &host = *hosts[box];
    Sim::Router &router = *host.vrfs()[random.next() % 2];
    Bsr::SystemState &system = host.system();
    const L3::VrfName vrf = router.vrf();
    const Sim::Intf &intf = router.intfs()[random.next() % router.intfs().size()];
    Sim::Link &lan = story.network.link(router.vrf() == L3::defaultVrf ? "lan" : "lanblue");
    switch (random.next() % 10) {
      case 0: return host.runs() ? host.stop() : restart(host);
      case 1: return host.runs() ? host.crash() : restart(host);
      case 2: return host.system().standbyIs(once(2));
      case 3: return system.pimGlobalStatus->enabledVrf(vrf) ? system.pimDel(vrf) : vrfIs(host, router);
      case 4: return system.allVrfStatusLocal->vrfStatus(vrf) ? system.vrfDel(vrf) : vrfIs(host, router);
      case 5: return system.namespaceExistsIs(vrf, once(2));
      case 6: return router.intf(intf.intfId())->upIs(!intf.isUp());
      case 7:
        if (once(2)) return system.configColl->intfConfigDel(intf.intfId());
        return system.configColl->intfConfigIs(intf.intfId())->bsrBorderGrpIs(once(2) ? scope : global);
      case 8: return once(2) ? config(box, router).bsrCandidateConfigDel(loopback(router)) : configureAll(box);
      case 9:
        if (router.intfs().size() < 3) router.join(lan);
    }
  }
  void repairAll() {
    for (uint32_t box = 0; box < boxes; ++box) {
      Sim::Host &host = *hosts[box];
      if (!host.runs()) restart(host);
      host.system().standbyIs(false);
      for (Sim::Router *router : host.vrfs()) {
        vrfIs(host, *router);
        for (Sim::Intf &intf : router->intfs()) intf.upIs(true);
      }
      host.system().configColl->intfConfigDelAll();
      configureAll(box);
    }
  }

  Story story;
  const Pax::IpGenPrefix global = story.addresses.global(), scope = story.addresses.scope(5);
  Orb::Random random;
  std::vector<std::unique_ptr<Sim::Host>> hosts;
};

TEST_P(Life, EndsInAgreement) {
  const double end = story.time().now() + 3600;
  while (story.time().now() < end) {
    somethingHappens();
    story.time().runFor(random.uniform(0, 10));
  }
  repairAll();
  story.time().runFor(500);
  for (size_t vrf = 0; vrf < 2; ++vrf) {
    Sim::RpTable table;
    table.group[scope];
    for (const uint32_t rp : {1, 2}) {
      table.group[story.addresses.group(1)][hosts[rp]->vrfs()[vrf]->address()] = {180, 7, 30};
    }
    for (const auto &host : hosts) {
      const L3::VrfName name = host->vrfs()[vrf]->vrf();
      SCOPED_TRACE(host->router().name() + " " + name.text());
      const Bsr::Status &status = *host->system().statusColl->vrfStatus(name);
      for (const auto &[zone, bsr] : {std::pair(global, 3), std::pair(scope, 4)}) {
        const auto elected = status.bootstrapRouter(zone);
        EXPECT_EQ(elected ? elected->ipAddr() : Pax::IpGenAddr(), hosts[bsr]->vrfs()[vrf]->address()) << zone;
      }
      EXPECT_EQ(Sim::tableOf(**host->system().rpCandidateStatusColl->vrfStatus(name)), table);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Life, testing::Range(uint64_t{1}, uint64_t{7}), testing::PrintToStringParamName());

}  // namespace
}  // namespace Test
