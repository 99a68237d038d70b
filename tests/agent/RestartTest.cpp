// An agent that starts on the status of an earlier one.
#include <gtest/gtest.h>

#include "tests/agent/World.h"

namespace Test {
namespace {

using Restart = BothFamilies;

// Notes what comes (+) and goes (-) in the configured parts of a VRF's status.
struct Recorder : Bsr::Status::Notifiee {
  explicit Recorder(const Kiv::Ptr<Bsr::Status> &status) { notifierIs(status); }
  void onCbsr(const Pax::IpGenPrefix &zone) override { noted += notifier()->cbsr(zone) ? '+' : '-'; }
  void onCrp(const Pax::IpGenAddr &rp) override { noted += notifier()->crp(rp) ? '+' : '-'; }
  void onBsBorder(const Pax::IpGenPrefix &zone) override { noted += notifier()->bsBorder(zone) ? '+' : '-'; }
  std::string noted;
};

TEST_P(Restart, RemovesWhatIsConfiguredNoMoreBeforeItWritesAnythingNew) {
  const Pax::IpGenPrefix global = a.global(), scope = a.scope(5), other = a.scope(7);
  const Pax::IntfId eth1("default", "eth1");
  for (const bool changed : {false, true}) {
    World world(GetParam());
    world.add("default").interfaces->intfStatusIs(eth1);
    world.candidateIs("default", global, 50);
    world.candidateIs("default", scope, 50);
    world.candidateRpIs("default", a.group(1), 51);
    world.system.configColl->intfConfigIs(eth1)->bsrBorderGrpIs(a.scope(6));
    world.start();
    world.advance(world.bestDelay() + 1);
    const Kiv::Ptr<Bsr::Status> status = world.status("default");
    ASSERT_TRUE(status->cbsr(global)->elected() && status->cbsr(scope)->elected());
    const double since = world.bsr("default")->setupTime();
    world.stop();
    world.advance(7);
    if (changed) {
      world.config("default").bsrCandidateConfig({"default", "lo50"})->groupDel(scope);
      world.config("default").rpCandidateConfigDel({"default", "lo51"});
      world.system.configColl->intfConfigDel(eth1);
      world.candidateIs("default", other, 50);
      world.candidateRpIs("default", a.group(2), 52);
      world.system.configColl->intfConfigIs(eth1)->bsrBorderGrpIs(a.scope(8));
    }
    const Recorder recorder(status);
    world.start();
    EXPECT_EQ(recorder.noted, changed ? "---+++" : "");
    EXPECT_EQ(status->cbsr().keys(), (std::vector{global, changed ? other : scope}));
    EXPECT_EQ(status->crp().keys(), std::vector{a.host(changed ? 52 : 51)});
    EXPECT_EQ(status->crpStatus(scope) == nullptr, changed) << "what it collected goes too";
    EXPECT_EQ(status->cbsr(global)->state(), Bsr::BsrCandidateState::eBsr);
    EXPECT_EQ(world.bsr("default")->setupTime(), since);
    world.advance(3000);
    EXPECT_EQ(status->bootstrapRouter().keys(), status->cbsr().keys()) << "a zone that was given up ends";
  }
}

TEST_P(Restart, WhatWasLearnedLastsForTheTimeoutAndTheRestOfItsHoldTime) {
  for (const bool standby : {false, true}) {
    World world(GetParam());
    PlatformVrf &vrf = world.add("default");
    world.start();
    vrf.hear(Bsm(a.host(60))
                 .group(a.group(1), {{a.host(70), 150, 1}})
                 .group(a.group(2), {{a.host(71), 400, 1}})
                 .group(a.group(3), {{a.host(72), 80, 1}}));
    world.advance(50);
    standby ? world.standbyIs(true) : world.stop();
    world.advance(50);
    const auto published = *world.system.rpCandidateStatusColl->vrfStatus("default");
    const auto rps = [&] { return published->crpSet().size(); };
    EXPECT_EQ(rps(), 3u) << "nobody is there to end them";
    const auto rp = published->crpSet(a.group(2))->rp(a.host(71));
    standby ? world.standbyIs(false) : world.start();
    EXPECT_EQ(published->crpSet(a.group(2))->rp(a.host(71)), rp) << "it was never withdrawn";
    world.advance(49.9);
    EXPECT_EQ(rps(), 2u);
    world.advance(0.2);
    EXPECT_EQ(rps(), 1u) << "150 seconds have passed since it was told";
    world.advance(79.7);
    EXPECT_EQ(world.bsr("default")->ipAddr(), a.host(60));
    world.advance(0.2);
    EXPECT_FALSE(world.bsr("default")) << "130 seconds after the start";
    EXPECT_EQ(vrf.sent(), 1u) << "nothing but the message that was passed on";
  }
}

TEST_P(Restart, WhatWasLearnedAgesWhileItsVrfIsAway) {
  PlatformVrf &vrf = add("blue");
  candidateIs("blue", a.scope(5), 50);
  start();
  vrf.hear(Bsm(a.host(60)).group(a.group(1), {{a.host(70), 150, 1}}).group(a.group(2), {{a.host(71), 400, 1}}));
  advance(50);
  const Kiv::Ptr<Bsr::Status> blue = status("blue");
  ASSERT_TRUE(blue->cbsr(a.scope(5))->elected());
  system.pimDel("blue");
  const auto published = *system.rpCandidateStatusColl->vrfStatus("blue");
  const auto learned = Bsr::rpSetsOf(*blue, a.global());
  advance(79);
  EXPECT_TRUE(bsr("blue"));
  advance(2);
  EXPECT_FALSE(bsr("blue")) << "after the timeout of 130 seconds";
  EXPECT_TRUE(blue->bootstrapRouter(a.scope(5)));
  EXPECT_EQ(published->crpSet().size(), 2u);
  advance(20);
  EXPECT_EQ(published->crpSet().keys(), std::vector{a.group(2)});
  EXPECT_EQ(learned->crpSet().keys(), std::vector{a.group(2)});
  advance(100);
  EXPECT_FALSE(blue->bootstrapRouter(a.scope(5)) || blue->cbsr(a.scope(5))->elected());
  pimIs("blue");
  EXPECT_EQ(published->crpSet().keys(), std::vector{a.group(2)}) << "the rest is there at once";
  advance(200);
  EXPECT_FALSE(published->crpSet(a.group(2)));
  EXPECT_TRUE(blue->crpStatus().keys() == std::vector{a.scope(5)} && blue->cbsr(a.scope(5))->elected());
}

TEST_P(Restart, ARestoredElectionOfAVrfThatIsAwayLastsForTheTimeout) {
  add("blue");
  candidateIs("blue", a.scope(5), 50);
  system.pimDel("blue");
  const Kiv::Ptr<Bsr::Status> blue = system.statusColl->vrfStatusIs("blue");
  const auto candidate = blue->cbsrIs(a.scope(5));
  candidate->electedIs(true);
  blue->bootstrapRouterIs(a.scope(5))->expiryTimeIs(time.now() + 10);
  start();
  advance(130);
  EXPECT_TRUE(candidate->elected() && blue->bootstrapRouter(a.scope(5)));
  advance(11);
  EXPECT_FALSE(candidate->elected() || blue->bootstrapRouter(a.scope(5)));
}

TEST_P(Restart, ForgetsVrfsThatAreGoneAndRpsThatNoZoneKnows) {
  add("default");
  add("blue");
  start();
  stop();
  system.vrfDel("blue");
  system.pimDel("default");
  const auto published = *system.rpCandidateStatusColl->vrfStatus("default");
  published->crpSetIs(a.group(1))->rpIs(a.host(70));
  const Kiv::Ptr<Bsr::Status> blue = status("blue");
  start();
  EXPECT_FALSE(status("blue"));
  EXPECT_FALSE(system.rpCandidateStatusColl->vrfStatus("blue"));
  EXPECT_TRUE(published->crpSet().empty());
  add("blue");
  EXPECT_NE(status("blue"), blue);
}

FOR_BOTH_FAMILIES(Restart);

}  // namespace
}  // namespace Test
