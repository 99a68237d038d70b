// Stories of a network that loses, regains and changes its Bootstrap Router.
#include <gtest/gtest.h>

#include "tests/sim/Story.h"

namespace Test {
namespace {

class Protocol : public testing::TestWithParam<Addresses> {
 protected:
  Protocol() : story(GetParam()), global(story.addresses.global()), scope(story.addresses.scope(5)) {}

  /// A feeder and the agents a, b and c in a row, all with the zone's table.
  Sim::Feeder &learnedChain(const Pax::IpGenPrefix &zone, const Sim::RpTable &table, double period = 60) {
    story.chain({"feeder", "a", "b", "c"}, {1500});
    story.start({"a", "b", "c"});
    Sim::Feeder &feeder = story.feeder("feeder", period);
    story.feed(feeder, zone, table);
    feeder.start();
    EXPECT_TRUE(story.within(15, [&] { return story.everyAgentHas(zone, feeder, table); }));
    return feeder;
  }

  Story story;
  const Pax::IpGenPrefix global, scope;
  const Sim::RpTable nothing;
};

TEST_P(Protocol, TheBsrOfADeadFeederLeavesAfterTheHoldTimeAndItsRpsAfterTheirs) {
  const Sim::RpTable table = story.table(global, 3, 2, 0, 200);
  Sim::Feeder &feeder = learnedChain(global, table);
  story.time().runFor(60);
  const double last = story.time().now();  // of the last message, but for the delays of the chain
  feeder.die();
  story.time().runTo(last + 129);
  EXPECT_TRUE(story.everyAgentHas(global, feeder, table));
  story.time().runTo(last + 131);
  EXPECT_TRUE(story.everyAgentHas(global, {}, table));
  // The end of the BSR renewed the RPs once more.
  story.time().runTo(last + 130 + 199);
  EXPECT_TRUE(story.everyAgentHas(global, {}, table));
  story.time().runTo(last + 130 + 201);
  EXPECT_TRUE(story.everyAgentHas(global, {}, nothing));
}

TEST_P(Protocol, AScopedZoneWithoutBsrIsForgottenAndLearnedAnew) {
  const Sim::RpTable table = story.table(scope, 2, 2);
  Sim::Feeder &feeder = learnedChain(scope, table);
  feeder.die();
  story.time().runFor(130 + 150 + 5);
  EXPECT_TRUE(story.everyAgentHas(scope, {}, nothing));
  story.time().runFor(1300);
  feeder.start();
  EXPECT_TRUE(story.within(15, [&] { return story.everyAgentHas(scope, feeder, table); }));
}

TEST_P(Protocol, ARouterThatStartsLateIsToldByTheDr) {
  const Sim::RpTable table = story.table(global, 3, 4);
  const Sim::RpTable scoped = story.table(scope, 2, 2, 1);
  Sim::RpTable both = table;
  both.group.insert(scoped.group.begin(), scoped.group.end());
  story.network.linkIs("wan", {"feeder", "a", "b"});
  story.network.linkIs("lan", {"a", "b", "late"});
  story.start({"a", "b"});
  Sim::Feeder &feeder = story.feeder("feeder", 3600);  // so that no later message helps
  story.feed(feeder, global, table);
  story.feed(feeder, scope, scoped);
  feeder.start();
  story.time().runFor(60);
  ASSERT_TRUE(story.everyAgentHas(global, feeder, both));
  story.start({"late"});
  EXPECT_TRUE(story.within(6, [&] { return story.everyAgentHas(global, feeder, both); }));
  EXPECT_TRUE(story.everyAgentHas(scope, feeder, both));
}

TEST_P(Protocol, ARouterThatRestartsKeepsItsRpSet) {
  for (const bool orderly : {true, false}) {
    SCOPED_TRACE(orderly ? "stopped" : "crashed");
    Story story(GetParam());
    story.chain({"feeder", "a", "b", "c"}, {1500});
    story.start({"a", "b", "c"});
    Sim::Feeder &feeder = story.feeder("feeder");
    const Sim::RpTable table = story.table(global, 30, 3);
    story.feed(feeder, global, table);
    feeder.start();
    ASSERT_TRUE(story.within(15, [&] { return story.everyAgentHas(global, feeder, table); }));
    Sim::Host &b = story.host("b");
    orderly ? b.stop() : b.crash();
    story.time().runFor(20);
    b.start();
    const auto isShort = [&] { return !story.everyAgentHas(global, feeder, table); };
    EXPECT_FALSE(story.within(600, isShort)) << "at " << story.time().now();
    feeder.die();
    story.time().runFor(131);
    EXPECT_EQ(b.bsr(global), Pax::IpGenAddr());
    story.time().runFor(150);
    EXPECT_EQ(Sim::tableOf(b.rpSet()), nothing);
  }
}

TEST_P(Protocol, RpsThatEndedWhileTheAgentWasAwayAreGoneSoonAfterItsStart) {
  const Sim::RpTable table = story.table(global, 3, 4);
  Sim::Feeder &feeder = learnedChain(global, table);
  Sim::Host &b = story.host("b");
  b.crash();
  feeder.die();
  story.time().runFor(1000);
  EXPECT_EQ(Sim::tableOf(b.rpSet()), table);  // nobody was there to end them
  b.start();
  story.time().runFor(131);
  EXPECT_TRUE(story.everyAgentHas(global, {}, nothing));
}

TEST_P(Protocol, ABetterBsrTakesOverAndTheOtherReturnsWhenItIsGone) {
  const Sim::RpTable worseTable = story.table(global, 3, 4, 0), betterTable = story.table(global, 2, 5, 1);
  Sim::Feeder &worse = learnedChain(global, worseTable);
  story.chain({"c", "better"}, {1500});
  Sim::Feeder &better = story.feeder("better");
  story.feed(better, global, betterTable, 65);
  better.start();
  EXPECT_TRUE(story.within(15, [&] { return story.everyAgentHas(global, better, betterTable); }));
  const auto isOther = [&] { return !story.everyAgentHas(global, better, betterTable); };
  EXPECT_FALSE(story.within(600, isOther)) << "at " << story.time().now();
  better.die();
  const double died = story.time().now();
  const auto isBack = [&] { return story.host("c").bsr(global) == worse.router().address(); };
  EXPECT_TRUE(story.within(130 + 60, isBack));
  // The RPs of the other serve on until their hold time ends.
  Sim::RpTable both = worseTable;
  for (const auto &[prefix, rps] : betterTable.group) both.group[prefix].insert(rps.begin(), rps.end());
  EXPECT_TRUE(story.everyAgentHas(global, worse, both));
  story.time().runTo(died + 130 + 150);
  EXPECT_TRUE(story.everyAgentHas(global, worse, worseTable));
}

TEST_P(Protocol, AnRpThatTheBsrNamesNoMoreEndsWithItsHoldTimeAndOneWithHoldTimeZeroAtOnce) {
  Sim::RpTable table = story.table(global, 1, 3);
  Sim::Feeder &feeder = learnedChain(global, table);
  auto &rps = table.group.begin()->second;
  Sim::RpTable told = table;
  told.group.begin()->second.begin()->second.holdTime = 0;
  rps.erase(rps.begin());
  story.feed(feeder, global, told);
  EXPECT_TRUE(story.within(1, [&] { return story.everyAgentHas(global, feeder, table); }));
  Sim::RpTable fewer = table;
  fewer.group.begin()->second.erase(fewer.group.begin()->second.begin());
  story.feed(feeder, global, fewer);
  story.time().runFor(149);
  EXPECT_TRUE(story.everyAgentHas(global, feeder, table));
  story.time().runFor(2);
  EXPECT_TRUE(story.everyAgentHas(global, feeder, fewer));
}

TEST_P(Protocol, AScopeTakesItsPrefixesFromTheGlobalZoneAndGivesThemBack) {
  // Both zones name RPs for the same prefixes; the scope's count while it has a BSR.
  const Sim::RpTable scoped = story.table(scope, 2, 2, 1);
  Sim::RpTable wide = story.table(scope, 2, 3, 2);
  wide.group.erase(scope);
  Sim::Feeder &feeder = learnedChain(global, wide);
  story.feed(feeder, scope, scoped);
  EXPECT_TRUE(story.within(1, [&] { return story.everyAgentHas(global, feeder, scoped); }));
  feeder.zoneDel(scope);
  const auto isWide = [&] { return story.everyAgentHas(global, feeder, wide); };
  EXPECT_TRUE(story.within(130 + 150 + 1300 + 61, isWide));
  EXPECT_EQ(story.host("c").bsr(scope), Pax::IpGenAddr());
}

TEST_P(Protocol, ABorderKeepsTheZoneInAndLetsTheOthersThrough) {
  story.chain({"feeder", "a", "b", "c"}, {1500});
  story.host("b").borderIs(scope, story.network.router("b").intfAt(story.network.link("b-c")).intfId());
  story.start({"a", "b", "c"});
  Sim::Feeder &feeder = story.feeder("feeder");
  story.feed(feeder, global, story.table(global, 2, 2));
  story.feed(feeder, scope, story.table(scope, 2, 2));
  feeder.start();
  story.time().runFor(300);
  EXPECT_EQ(story.host("b").bsr(scope), feeder.router().address());
  EXPECT_EQ(story.host("c").bsr(scope), Pax::IpGenAddr());
  EXPECT_EQ(story.host("c").bsr(global), feeder.router().address());
  EXPECT_EQ(Sim::tableOf(story.host("c").rpSet()), story.table(global, 2, 2));
}

TEST_P(Protocol, APartCutOffForgetsAndLearnsAgainAroundTheCut) {
  const Sim::RpTable table = story.table(global, 40, 4);
  Sim::Feeder &feeder = learnedChain(global, table);
  story.network.link("a-b").cut();
  story.time().runFor(130 + 150 + 61);
  EXPECT_EQ(Sim::tableOf(story.host("a").rpSet()), table);
  EXPECT_EQ(Sim::tableOf(story.host("b").rpSet()), nothing);
  EXPECT_EQ(Sim::tableOf(story.host("c").rpSet()), nothing);
  story.chain({"a", "c"}, {576});
  EXPECT_TRUE(story.within(61, [&] { return story.everyAgentHas(global, feeder, table); }));
}

INSTANTIATE_TEST_SUITE_P(Families, Protocol, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "ipv4" : "ipv6"; });

/// An hour of a network with loss and reordering, with the seed in the name.
class BadHour : public testing::TestWithParam<uint64_t> {};

TEST_P(BadHour, NothingWrongIsEverPublishedAndAllEndsRight) {
  Story story(GetParam() % 2 == 0 ? ipv4 : ipv6, GetParam());
  const Sim::LinkParameters bad{.delay = 0.01, .jitter = 0.05, .loss = 0.1};
  story.chain({"feeder", "a", "b", "c", "d"}, {1500, 700, 576, 1280}, bad);
  story.chain({"a", "d"}, {800}, bad);
  story.start({"a", "b", "c", "d"});
  const Pax::IpGenPrefix zone = story.addresses.global();
  const Sim::RpTable table = story.table(zone, 8, 60);
  Sim::Feeder &feeder = story.feeder("feeder");
  story.feed(feeder, zone, table);
  feeder.start();
  size_t most = 0;
  for (int minute = 0; minute < 60; ++minute) {
    story.time().runFor(60);
    for (const char *name : {"a", "b", "c", "d"}) {
      const Sim::RpTable published = Sim::tableOf(story.host(name).rpSet());
      most = std::max(most, published.rps());
      for (const auto &[prefix, rps] : published.group) {
        ASSERT_TRUE(table.group.contains(prefix)) << prefix;
        for (const auto &[rp, entry] : rps) ASSERT_EQ(entry, table.group.at(prefix).at(rp)) << rp;
      }
    }
  }
  EXPECT_EQ(most, table.rps());
  for (const auto &link : story.network.links()) EXPECT_GT(link->counters().lost, 50u) << link->name();
  for (const auto &link : story.network.links()) {
    link->parametersIs({.mtu = link->parameters().mtu});
  }
  EXPECT_TRUE(story.within(2 * 61 + 105, [&] { return story.everyAgentHas(zone, feeder, table); }));
}

INSTANTIATE_TEST_SUITE_P(Seeds, BadHour, testing::Range(uint64_t{1}, uint64_t{5}), testing::PrintToStringParamName());

}  // namespace
}  // namespace Test
