// Stories of small networks, as their routers tell them.
#include <gtest/gtest.h>

#include <iostream>

#include "tests/sim/Story.h"
#include "tests/support/Told.h"
#include "tests/support/ToldVrf.h"
#include "view/Reporting.h"

namespace Test {
namespace {

using Bsr::EventKind;
using Bsr::Severity;

// r1 and r3 are candidate BSRs, r3 the better one; r2, between them, is a candidate RP.
class Reporters : public testing::TestWithParam<Addresses> {
 protected:
  Reporters() : story(GetParam()), global(story.addresses.global()) {
    for (const char *name : {"r1", "r2", "r3"}) story.network.router(name);
    story.chain({"r1", "r2", "r3"}, {1500});
    for (const char *name : {"r1", "r2", "r3"}) told[name] = std::make_unique<Told>(story.host(name));
    host("r1").candidateBsrIs(global, 10);
    host("r3").candidateBsrIs(global, 20);
    host("r2").candidateRpIs(story.addresses.group(1));
  }
  ~Reporters() override {
    for (auto &[name, each] : told) {
      if (HasFailure()) std::cerr << name << ":\n" << each->text();
    }
    told.clear();
  }
  Sim::Host &host(const std::string &name) { return story.host(name); }
  void start() {
    story.start({"r1", "r2", "r3"});
    story.time().runFor(600);
    for (auto &[name, each] : told) each->story();
  }

  Story story;
  const Pax::IpGenPrefix global;
  std::map<std::string, std::unique_ptr<Told>> told;
};

TEST_P(Reporters, ARestIsQuietAndADeadBsrIsToldByAll) {
  start();
  story.time().runFor(3600);
  for (auto &[name, each] : told) EXPECT_EQ(each->story(Severity::debug), "") << name;
  host("r3").powerOff();
  story.time().runFor(300);
  EXPECT_EQ(told["r1"]->story(), "bsrTimedOut bsrElected");
  EXPECT_EQ(told["r1"]->last(EventKind::bsrElected).cause, "the one before is silent");
  for (const char *name : {"r1", "r2"}) {
    const Bsr::Event timedOut = told[name]->last(EventKind::bsrTimedOut);
    EXPECT_EQ(timedOut.cause, "no message of it was accepted for 130 s") << name;
    EXPECT_NE(timedOut.oldValue, "") << name;
    EXPECT_EQ(timedOut.newValue, "") << name;
  }
  EXPECT_EQ(told["r2"]->story(), "neighborLeft drChanged bsrTimedOut bsrLearned");
  EXPECT_EQ(told["r3"]->story(), "");
  host("r3").powerOn();
  host("r3").start();
  story.time().runFor(300);
  EXPECT_EQ(told["r1"]->story(), "bsrTakenOver rpDropped rpAdded");
  const Bsr::Event dropped = told["r1"]->last(EventKind::rpDropped);
  EXPECT_EQ(dropped.bsr, host("r1").router().address()) << "the one that it went with";
  EXPECT_EQ(dropped.cause, Bsr::sentence("BSR ", host("r3").router().address(), " took over"));
  EXPECT_EQ(told["r2"]->story(), "neighborCame drChanged bsrReplaced rpDropped rpAdded");
  EXPECT_EQ(told["r3"]->story(), "vrfRuns neighborCame bsrElected rpAdded");
}

TEST_P(Reporters, ABsrIsHeardAgainBeforeTheCandidateTakesOver) {
  start();
  host("r3").crash();
  Told &r1 = *told["r1"];
  EXPECT_TRUE(story.within(200, [&] { return r1.log.counts().contains(EventKind::bsrTimedOut); }));
  host("r3").start();
  story.time().runFor(60);
  EXPECT_EQ(r1.story(), "bsrTimedOut bsrLearned");
  const Bsr::Event heard = r1.last(EventKind::bsrLearned);
  EXPECT_EQ(heard.cause, "it is heard again");
  EXPECT_EQ(heard.oldValue, "");
  EXPECT_EQ(heard.newValue, Bsr::sentence(host("r3").router().address(), " priority 20"));
}

TEST_P(Reporters, AnRpIsWithdrawnOrExpiresAndANeighborRestartsOrLeaves) {
  start();
  host("r2").candidateRpDel();
  story.time().runFor(100);
  EXPECT_EQ(told["r3"]->story(), "rpWithdrawn");
  EXPECT_EQ(told["r1"]->story(), "rpWithdrawn");
  EXPECT_EQ(told["r3"]->last(EventKind::rpWithdrawn).cause, "it withdrew itself");
  EXPECT_EQ(told["r1"]->last(EventKind::rpWithdrawn).cause, "the BSR withdrew it");

  host("r2").candidateRpIs(story.addresses.group(1), 7);
  story.time().runFor(300);
  host("r2").candidateRpIs(story.addresses.group(1), 9);
  story.time().runFor(300);
  EXPECT_EQ(told["r1"]->story(), "rpAdded rpChanged");
  EXPECT_EQ(told["r1"]->last(EventKind::rpChanged).oldValue,
            Bsr::sentence("sparsemode priority 7 holdTime 180 hashMaskLen ", +story.hashMaskLen()));
  EXPECT_EQ(told["r1"]->last(EventKind::rpChanged).newValue,
            Bsr::sentence("sparsemode priority 9 holdTime 180 hashMaskLen ", +story.hashMaskLen()));
  EXPECT_TRUE(told["r1"]->last(EventKind::rpChanged).text.ends_with(" now has priority 9; it had priority 7"));
  told["r3"]->story();
  host("r2").candidateRpIs(story.addresses.group(1), 5)->modeIs(Routing::Pim::Mode::bidir);
  story.time().runFor(300);
  for (const char *name : {"r1", "r3"}) {
    EXPECT_EQ(told[name]->story(Severity::info), "rpChanged") << name;
    EXPECT_TRUE(told[name]
                    ->last(EventKind::rpChanged)
                    .text.ends_with(" is now bidir with priority 5; it was sparsemode with priority 9"))
        << told[name]->last(EventKind::rpChanged).text;
    EXPECT_EQ(told[name]->last(EventKind::rpChanged).oldValue.find("sparsemode priority 9 "), 0u) << name;
  }

  host("r2").crash();
  host("r2").start();
  story.time().runFor(60);
  EXPECT_EQ(told["r1"]->story(), "neighborRestarted");
  host("r2").stop();
  story.time().runFor(1);
  EXPECT_EQ(told["r1"]->story(), "neighborLeft drChanged");
  EXPECT_EQ(told["r1"]->last(EventKind::neighborLeft).cause, "it said goodbye");
  told["r3"]->story();
  story.time().runFor(185);
  EXPECT_EQ(told["r3"]->story(), "rpExpired");
  EXPECT_EQ(told["r3"]->last(EventKind::rpExpired).cause, "no advertisement of it was accepted for 180 s");
}

TEST_P(Reporters, AScopeZoneAppearsHidesWhatItCoversAndIsForgotten) {
  const Pax::IpGenPrefix scope = story.addresses.scope(5), inside = story.addresses.inScope(5, 1);
  host("r2").candidateRpDel();
  host("r2").candidateRpIs(inside);
  start();
  EXPECT_EQ(host("r3").rpSet().crpSet().size(), 1u);
  host("r1").candidateBsrIs(scope, 9);
  story.time().runFor(300);
  EXPECT_EQ(told["r1"]->story(Severity::info),
            "candidateInForce zoneAppeared bsrElected rpHidden advertisementAccepted rpAdded rpWithdrawn");
  EXPECT_EQ(told["r3"]->story(Severity::info),
            "zoneAppeared bsrLearned rpHidden rpWithdrawn advertisementRefused rpAdded");
  EXPECT_EQ(told["r3"]->last(EventKind::rpWithdrawn).cause, Bsr::sentence("inner zone ", scope, " has a BSR"));
  EXPECT_EQ(told["r3"]->last(EventKind::rpHidden).cause, Bsr::sentence("inner zone ", scope, " has a BSR"));
  EXPECT_EQ(told["r3"]->last(EventKind::rpHidden).group, inside);

  host("r1").powerOff();
  story.time().runFor(131);
  EXPECT_EQ(told["r3"]->story(), "bsrTimedOut rpAdded");
  story.time().runFor(2000);
  EXPECT_EQ(told["r3"]->story(), "rpExpired zoneForgotten");
}

TEST_P(Reporters, ManyRpsAreSummedUpHoweverTheyComeAndGo) {
  told.erase("r1");
  Sim::Feeder &feeder = story.feeder("r1");
  story.feed(feeder, global, story.table(global, 20, 50));
  feeder.start();
  story.start({"r2", "r3"});
  host("r3").candidateBsrDel(global);
  story.time().runFor(30);
  const auto many = [&](const char *verb) {
    Told &teller = *told["r3"];
    const std::string all = teller.story();
    EXPECT_EQ(teller.last(EventKind::rpSetChanged).text,
              Bsr::sentence("RPs of zone ", global, ", in all in the last 2s: 1000 ", verb));
    return all;
  };
  const auto twenty = [](const std::string &kind) {
    std::string kinds;
    for (int i = 0; i < 20; ++i) kinds += " " + kind;
    return kinds;
  };
  EXPECT_EQ(many("added"), "vrfRuns neighborCame bsrLearned" + twenty("rpAdded") + " rpSetChanged");
  EXPECT_EQ(told["r3"]->log.counts().at(EventKind::rpAdded), 50u);
  story.time().runFor(600);
  EXPECT_EQ(told["r3"]->story(Severity::debug), "") << "a refresh is no change";
  feeder.die();
  story.time().runFor(300);
  EXPECT_EQ(many("expired"), "bsrTimedOut" + twenty("rpExpired") + " rpSetChanged");
}

TEST_P(Reporters, LoopsMakeEchoesAndAnythingElseThatIsRefusedIsToldOnceAndThenCounted) {
  story.network.linkIs("loop", {"r1", "r3"}, {.delay = 0.5});  // what comes another way is faster
  story.network.router("stranger");
  story.network.linkIs("outside", {"r2", "stranger"});
  start();
  story.time().runFor(3600);
  for (auto &[name, each] : told) {
    EXPECT_EQ(each->story(Severity::debug), "") << name;
    const auto &rows = each->drops.rows();
    EXPECT_TRUE(std::all_of(rows.begin(), rows.end(), [](auto &row) { return row.key.isEcho; })) << name;
    EXPECT_GT(rows.size(), 0u) << name;
  }
  // It says to be r3.
  Sim::Feeder &stranger = story.feeder("stranger", 20);
  const Sim::BsrParameters bsr{host("r3").router().address(), 20, story.hashMaskLen(), global, false};
  stranger.zoneIs(global, fragmentsOf(bsr, story.table(global, 1, 1), 1500));
  stranger.start();
  Told &r2 = *told["r2"];
  story.time().runFor(300);
  EXPECT_EQ(r2.story(),
            "neighborCame drChanged messageRefused messagesRefused messagesRefused messagesRefused "
            "messagesRefused");
  const Bsr::Event refused = r2.last(EventKind::messageRefused);
  EXPECT_EQ(refused.cause, "rpfNeighbor");
  EXPECT_EQ(refused.bsr, bsr.address);
  EXPECT_NE(refused.text.find(Kiv::toText(host("r3").router().intfAt(story.network.link("r2-r3")).nextHopAddress())),
            std::string::npos)
      << refused.text;
  uint64_t summed = 0, counted = 0;
  for (const Bsr::Event &event : r2.log.events()) {
    if (event.kind == EventKind::messagesRefused) summed += std::stoul(event.newValue);
  }
  for (const auto &row : r2.drops.rows()) counted += row.key.isEcho ? 0 : row.count;
  EXPECT_GE(counted, 14u);
  EXPECT_LE(counted - summed, 4u) << "the first, and those since the last sum";
}

TEST_P(Reporters, AnInterfaceThatGoesTakesItsNeighborsAlongAndACandidateLosesItsAddress) {
  start();
  Sim::Intf &intf = host("r1").router().intfAt(story.network.link("r1-r2"));
  intf.upIs(false);
  story.time().runFor(1);
  EXPECT_EQ(told["r1"]->story(), "interfaceDown");
  EXPECT_EQ(told["r1"]->last(EventKind::interfaceDown).cause, "eth0 is down; its neighbor is gone with it");
  intf.upIs(true);
  story.time().runFor(60);
  EXPECT_EQ(told["r1"]->story(), "interfaceUp neighborCame drChanged");

  const Pax::IpGenAddr address = host("r3").router().address();
  host("r3").router().addressDel(address);
  story.time().runFor(2);
  EXPECT_EQ(told["r3"]->story(), "bsrLost rpDropped candidateNotInForce");
  EXPECT_EQ(told["r3"]->last(EventKind::candidateNotInForce).cause, "lo has no global address");
  host("r3").router().addressIs(address);
  story.time().runFor(120);
  EXPECT_EQ(told["r3"]->story(), "candidateInForce advertisementRefused bsrElected rpAdded")
      << "the RP advertised itself before the election";
}

TEST_P(Reporters, AVrfThatGoesTakesItsElectionAlong) {
  start();
  host("r3").system().vrfDel(L3::defaultVrf);
  story.time().runFor(1);
  EXPECT_EQ(told["r3"]->last(EventKind::bsrLost).cause, "the VRF is not running");
}

TEST_P(Reporters, WhatIsConfiguredAndNotThereIsTold) {
  start();
  told["r1"]->reporter.started("PimBsr", "1", "");
  EXPECT_EQ(told["r1"]->last(EventKind::agentStarted).text,
            "PimBsr 1 started, with the BSR of 1 zone and 1 RP from before");
  told["r1"]->story();
  told["r1"]->others = {{L3::defaultVrf, "eth7"}};
  told["r1"]->reporter.handleConfig();
  host("r1").system().vrfIs("red", "red");
  story.time().runFor(1);
  EXPECT_EQ(told["r1"]->story(), "interfaceMissing");
  story.time().runFor(60);
  EXPECT_EQ(told["r1"]->story(), "vrfWaits");
  EXPECT_EQ(told["r1"]->last(EventKind::vrfWaits).text, "VRF red waits for a namespace");
  host("r1").system().standbyIs(true);
  story.time().runFor(1);
  EXPECT_EQ(told["r1"]->story(), "roleChanged");
}

TEST_P(Reporters, ALimitIsReachedAndLeft) {
  told.erase("r1");
  Sim::Feeder &feeder = story.feeder("r1");
  Bsr::Limits limits;
  limits.rps = 3;
  host("r2").config().limitsIs(limits);
  host("r2").candidateRpDel();
  story.feed(feeder, global, story.table(global, 1, 4));
  feeder.start();
  story.start({"r2"});
  story.time().runFor(300);
  EXPECT_EQ(told["r2"]->story(), "vrfRuns neighborCame limitReached bsrLearned rpAdded rpAdded rpAdded");
  EXPECT_EQ(told["r2"]->last(EventKind::limitReached).cause, "rps");
  story.feed(feeder, global, story.table(global, 1, 3));
  story.time().runFor(400);
  EXPECT_EQ(told["r2"]->story(), "limitLeft");
}

TEST(RpReporter, AnRpThatAnInnerZoneHidesIsNoneInUse) {
  ToldVrf vrf(ipv4);
  vrf.hear(Bsm(vrf.a.host(1)).scope(vrf.a.scope(5)));
  vrf.told();
  for (const auto &prefix : {vrf.a.inScope(5, 1), vrf.a.group(1)}) {
    vrf.hear(Bsm(vrf.a.host(1)).group(prefix, {{vrf.a.host(9), 150, 0}}));
    const bool isHidden =
        vrf.told().find(": the BSR lists it; it is hidden by inner zone 239.5.0.0/16\n") != std::string::npos;
    EXPECT_EQ(isHidden, prefix != vrf.a.group(1)) << prefix;
  }
}

FOR_BOTH_FAMILIES(Reporters);

}  // namespace
}  // namespace Test
