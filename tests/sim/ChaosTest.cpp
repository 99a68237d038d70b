// A meshed network under random faults; afterwards all is right again.
#include <gtest/gtest.h>

#include "tests/sim/Story.h"

namespace Test {
namespace {

// Faults by a seed, which the name of the test shows. Everything is whole again at the end.
class Chaos : public testing::TestWithParam<uint64_t> {
 protected:
  static constexpr int routers = 10;

  Chaos() : story(GetParam() % 2 == 0 ? ipv4 : ipv6, GetParam()), random(GetParam()) {
    for (int i = 0; i < routers; ++i) names.push_back("r" + std::to_string(i));
    for (int i = 0; i < routers; ++i) {
      // A ring; the feeder hangs on it by a LAN and by a link.
      const std::string next = names[(i + 1) % routers];
      story.network.linkIs(names[i] + "-" + next, {names[i], next}, {.mtu = 576 + random.next() % 1000});
    }
    story.network.linkIs("lan", {names[0], names[3], names[6], "feeder"}, {.mtu = 576});
    story.network.linkIs("second", {names[5], "feeder"}, {.mtu = 576});
  }

  void oneFault() {
    Sim::Host &host = story.host(names[random.next() % routers]);
    Sim::Link &link = *story.network.links()[random.next() % story.network.links().size()];
    switch (random.next() % 6) {
      case 0: return link.isCut() ? link.heal() : link.cut();
      case 1: return host.runs() ? host.stop() : restart(host);
      case 2: return host.runs() ? host.crash() : restart(host);
      case 3: return host.runs() ? host.powerOff() : restart(host);
      case 4: return link.parametersIs({.mtu = 576 + random.next() % 1000, .jitter = 0.1, .loss = 0.3});
      case 5: {
        Sim::Intf &intf = host.router().intfs()[random.next() % host.router().intfs().size()];
        return intf.upIs(!intf.isUp());
      }
    }
  }
  void restart(Sim::Host &host) {
    host.powerOn();
    host.start();
  }
  void repairAll() {
    for (const auto &link : story.network.links()) {
      link->heal();
      link->parametersIs({.mtu = link->parameters().mtu});
    }
    for (const auto &name : names) {
      for (Sim::Intf &intf : story.network.router(name).intfs()) intf.upIs(true);
      if (!story.host(name).runs()) restart(story.host(name));
    }
  }

  // Nobody publishes what was never said.
  void expectOnly(const Sim::RpTable &said) {
    for (const auto &name : names) {
      for (const auto &[prefix, rps] : Sim::tableOf(story.host(name).rpSet()).group) {
        ASSERT_TRUE(said.group.contains(prefix)) << prefix;
        for (const auto &[rp, entry] : rps) ASSERT_EQ(entry, said.group.at(prefix).at(rp)) << rp;
      }
    }
  }

  Story story;
  Orb::Random random;
  std::vector<std::string> names;
};

TEST_P(Chaos, IsForgottenSoonAfterItsEnd) {
  const Pax::IpGenPrefix global = story.addresses.global(), scope = story.addresses.scope(5);
  Sim::Feeder &feeder = story.feeder("feeder");
  const Sim::RpTable scoped = story.table(scope, 5, 30, 1);
  Sim::RpTable table = story.table(global, 8, 60);
  story.feed(feeder, global, table);
  story.feed(feeder, scope, scoped);
  table.group.insert(scoped.group.begin(), scoped.group.end());
  feeder.start();
  story.start(names);
  for (int fault = 0; fault < 300; ++fault) {
    oneFault();
    story.time().runFor(random.uniform(0, 20));
    ASSERT_NO_FATAL_FAILURE(expectOnly(table));
  }
  repairAll();
  // Neighbors found, two rounds of messages, and what was learned wrongly would have ended.
  story.time().runFor(130 + 150 + 61);
  EXPECT_EQ(story.others(global, feeder.router().address(), table), "");
  EXPECT_EQ(story.others(scope, feeder.router().address(), table), "");
  feeder.die();
  story.time().runFor(130 + 150 + 1);
  EXPECT_EQ(story.others(global, {}, {}), "");
  EXPECT_EQ(story.others(scope, {}, {}), "");
}

INSTANTIATE_TEST_SUITE_P(Seeds, Chaos, testing::Range(uint64_t{1}, uint64_t{9}), testing::PrintToStringParamName());

}  // namespace
}  // namespace Test
