// What an agent starts with: the paths of its state, and the values that its machines are made with.
#include <gtest/gtest.h>

#include "platform/routing/TrieGen.h"
#include "tests/agent/World.h"
#include "tests/support/EntityLines.h"
#include "tests/support/TestVrf.h"

namespace Test {
namespace {

using Start = BothFamilies;

TEST_P(Start, EachOfThesePathsIsMountedUnderItsName) {
  const std::string own =
      a.ipv4() ? "routing/status forwarding/status routing/vrf/status/blue forwarding/vrf/status/blue "
                 "routing/multicast/rib/status stageInput/boot/PimBsr stageAgentStatus/boot/PimBsr "
                 "stageInput/shutdown/PimBsr stageAgentStatus/shutdown/PimBsr "
               : "routing6/status forwarding6/status routing6/vrf/status/blue forwarding6/vrf/status/blue "
                 "routing6/multicast/rib/status stageInput/boot/PimBsr6 stageAgentStatus/boot/PimBsr6 "
                 "stageInput/shutdown/PimBsr6 stageAgentStatus/shutdown/PimBsr6 ";
  std::istringstream paths(own +
                           "stage/boot/progress stage/shutdown/progress stage/boot/completionstatus "
                           "stage/shutdown/completionstatus ip/vrf/status/local acl/config/input acl/config/cli "
                           "interface/status/all interface/status/local kni/ns/netns-blue/status");
  for (std::string path; paths >> path;) {
    World world(GetParam());
    for (const char *vrf : {"default", "blue"}) world.add(vrf);
    world.store.withdraw(path);
    world.start();
    EXPECT_FALSE(world.agent->containerSm().size() == 2) << path;
  }
}

// Looks at what stands when the counters come, and unsets it.
struct SetTypeWitness : Bsr::Status::Notifiee {
  SetTypeWitness(const Kiv::Ptr<Bsr::Status> &status, Pim::RpCandidateStatus &published) : published(published) {
    notifierIs(status);
  }
  void onCounters() override { before = published.rpSetType(), published.rpSetTypeIs(0); }
  Pim::RpCandidateStatus &published;
  int before = 0;
};

TEST_P(Start, ChannelWheelAndSourcesHaveTheirNamesAndSizes) {
  TestVrf vrf(GetParam());
  EXPECT_EQ(vrf.port->settings, "307200 2100 transparent ");
  const Orb::TimerWheel::Parameters &wheel = vrf.sm->timerWheel().parameters();
  EXPECT_EQ((std::vector{wheel.ticksPerSecond, wheel.horizon, wheel.ticksPerSlot, wheel.slotsPerLevel}),
            (std::vector{100u, 108200u, 1u, 1024u}));
  EXPECT_EQ(vrf.sm->uribRouteShadowSm().name(), a.ipv4() ? "PimBsrUrib" : "PimBsr6Urib");
  EXPECT_EQ(vrf.sm->mribTrieBuilder().name(), "PimBsrMrib");
  EXPECT_EQ(vrf.sm->bsrSm().bsrTrie()->name(), a.ipv4() ? "PimBsrTrie" : "PimBsr6Trie");

  vrf.stop();
  vrf.status->countersDel();
  vrf.published->rpSetTypeIs(0);
  const SetTypeWitness witness(vrf.status, *vrf.published);
  vrf.start();
  EXPECT_EQ(witness.before, 2) << "before any machine is made";
  EXPECT_EQ(vrf.published->rpSetType(), 2) << "and again by the engine";
  vrf.intfIs(1);
  vrf.hear(Bsm(a.host(60)).group(a.group(1), {{a.host(70), 150, 1}}));
  vrf.candidateIs(a.scope(1), 1, 64);
  vrf.advance(20);
  for (const auto &[zone, learned] : vrf.status->crpStatus()) EXPECT_EQ(learned->status()->rpSetType(), 2) << zone;
  EXPECT_EQ(vrf.status->crpStatus().size(), 2u);
}

TEST_P(Start, ClearedCountersAreAsNew) {
  PlatformVrf &vrf = add("default");
  start();
  vrf.hear(Bsm(a.host(60)));
  const Kiv::Ptr<Pim::Packet::BootstrapMessage> nowhere = Bsm(a.host(61));
  vrf.port->hear(vrf.intf(1), a.onLink(101), Pax::allPimRouters(a.af), *nowhere);
  const auto counters = status("default")->counters();
  ASSERT_TRUE(counters->rxBsmSuccess() > 0 && counters->errCounters().rpfError > 0 &&
              vrf.port->counters().received > 0);
  system.clearConfigColl->vrfClearConfig("default")->countersCountInc(1);
  EXPECT_EQ(linesOf(*counters), linesOf(*Kiv::make<Bsr::PimBsrCounters>("new")));
  EXPECT_EQ(counters->errCounters().rpfError, 0u);
  EXPECT_EQ(vrf.port->counters().received, 0u);
}

FOR_BOTH_FAMILIES(Start);

}  // namespace
}  // namespace Test
