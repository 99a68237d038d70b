// Stories of a network that loses, regains and changes its Bootstrap Router.
#include <gtest/gtest.h>

#include "tests/sim/Story.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/Counts.h"
#include "tests/support/PacketText.h"

namespace Test {
namespace {

class Protocol : public testing::TestWithParam<Addresses> {
 protected:
  Protocol() : story(GetParam()), global(story.addresses.global()), scope(story.addresses.scope(5)) {}

  /// A feeder and the agents a, b and c in a row, all with the table.
  Sim::Feeder &learnedChain(const Sim::RpTable &table) {
    story.chain({"feeder", "a", "b", "c"}, {1500});
    story.start({"a", "b", "c"});
    Sim::Feeder &feeder = story.feeder("feeder");
    story.feed(feeder, global, table);
    feeder.start();
    EXPECT_TRUE(story.within(15, [&] { return story.everyAgentHas(global, feeder, table); }));
    return feeder;
  }

  Story story;
  const Pax::IpGenPrefix global, scope;
  const Sim::RpTable nothing;
};

TEST_P(Protocol, TheBsrOfADeadFeederLeavesAfterTheHoldTimeAndItsRpsAfterTheirs) {
  const Sim::RpTable table = story.table(global, 40, 4, 0, 200);  // in several fragments
  Sim::Feeder &feeder = learnedChain(table);
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

TEST_P(Protocol, ABetterBsrTakesOverAndTheOtherReturnsWhenItIsGone) {
  const Sim::RpTable worseTable = story.table(global, 3, 4, 0), betterTable = story.table(global, 2, 5, 1);
  Sim::Feeder &worse = learnedChain(worseTable);
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
  Sim::Feeder &feeder = learnedChain(table);
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

TEST_P(Protocol, TwoHopsAwayIsSeenWhatPassesAndWhoPassesItOnCountsWhatComesBack) {
  Sim::Feeder &feeder = learnedChain(story.table(global, 2, 2));
  story.time().runFor(20);
  const Addresses &a = story.addresses;
  const Sim::Intf &intf = feeder.router().intfs()[0];
  const Pax::IpGenAddr bsr = feeder.router().address();
  const auto router = [&](const char *name) -> Sim::Router & { return story.network.router(name); };
  Sim::Link &far = story.network.link("b-c");
  story.host("a").borderIs(scope, router("a").intfAt(story.network.link("feeder-a")).intfId());
  std::vector<std::string> seen;
  far.tapIs([&](const Sim::Packet &packet) {
    const auto result = Routing::Pim::Packet::Codec(a.af).decode(packet.payload, packet.source, packet.destination);
    if (result.message->type() == Routing::Pim::Packet::MessageType::bootstrap) seen.push_back(textOf(*result.message));
  });
  const Counts heard{{"rx", 1}, {"rxBsm", 1}}, taken = heard + Counts{{"rxSuccess", 1}, {"rxBsmSuccess", 1}};
  const Counts sent{{"tx", 1}, {"txSuccess", 1}}, nothing;
  const auto dropped = [&](const char *why) { return heard + Counts{{"rxError", 1}, {"rxBsmError", 1}, {why, 1}}; };
  const Counts passed = taken + dropped("rpf") + sent + sent;
  const struct {
    const char *what;
    Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage> bsm;
    Counts counts[3];  // of a, b and c
  } rows[] = {
      {"of the BSR", Bsm(bsr).group(a.group(9), {{a.host(9), 150, 3}}), {passed, passed, taken + sent}},
      {"without way back", Bsm(router("c").address(), 255), {dropped("rpf")}},
      {"no-forward", Bsm(bsr, 255).noForward(), {dropped("noFwdBsm")}},
      {"over the border", Bsm(bsr, 255).scope(scope), {dropped("denied")}},
      {"of a lesser BSR", Bsm(intf.address(), 63), {taken}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.what);
    const auto counts = [&](size_t n) { return countsOf(*story.host({"abc"[n]}).status().counters()); };
    const Counts before[] = {counts(0), counts(1), counts(2)};
    seen.clear();
    feeder.router().port()->send(intf.intfId(), *row.bsm);
    story.time().runFor(0.5);
    for (size_t n = 0; n < 3; ++n) EXPECT_EQ(grown(before[n], counts(n)), row.counts[n]);
    std::vector<std::string> expected;
    for (const char *name : {"b", "c"}) {
      row.bsm->sourceIs(router(name).intfAt(far).nextHopAddress());
      if (row.counts[1] != nothing) expected.push_back(textOf(*row.bsm));
    }
    EXPECT_EQ(seen, expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Families, Protocol, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "ipv4" : "ipv6"; });

}  // namespace
}  // namespace Test
