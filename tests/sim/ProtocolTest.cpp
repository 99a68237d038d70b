// Stories of a network that loses, regains and changes its Bootstrap Router, and tells newcomers of it.
#include <gtest/gtest.h>

#include <set>

#include "tests/sim/Story.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/Counts.h"
#include "tests/support/PacketText.h"

namespace Test {
namespace {

class Protocol : public testing::TestWithParam<Addresses> {
 protected:
  Protocol() : story(GetParam()), global(story.addresses.global()), scope(story.addresses.scope(5)) {}

  // A feeder and the agents a, b and c in a row, all with the table.
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

TEST_P(Protocol, BothModesOfAPrefixCrossALesserMtuAndOutliveADeadBsrAlike) {
  // Two of the six groups fit a fragment, and four are placed before the last two, both of one prefix.
  const Addresses a = GetParam();
  const uint32_t rps = a.ipv4() ? 33 : 14;
  story.chain({"feeder", "a", "b", "c"}, {2100, a.ipv4() ? 1259u : 1174u, 1500});
  story.start({"a", "b", "c"});
  Sim::Feeder &feeder = story.feeder("feeder");
  Bsm bsm(feeder.router().address());
  Sim::RpTable told;
  for (const auto &[group, isBidir] : {std::pair(1, false), {2, false}, {1, true}, {2, true}, {3, false}, {3, true}}) {
    std::vector<Bsm::Rp> list;
    for (uint32_t n = 0; n < rps; ++n) {
      list.push_back({a.host(0x800000 + static_cast<uint32_t>(told.rps())), 200, 0});
      told.group[a.group(group)][list.back().address] = {200, 0, 30, isBidir};
    }
    bsm.group(a.group(group), list).bidir(isBidir);
  }
  feeder.zoneIs(global, {bsm});
  feeder.start();
  EXPECT_TRUE(story.within(15, [&] { return story.everyAgentHas(global, feeder, told); }));
  for (const auto &link : story.network.links()) EXPECT_EQ(link->counters().tooBig, 0u) << link->name();
  const double last = story.time().now();  // of the last message, but for the delays of the chain
  feeder.die();
  story.time().runTo(last + 129);
  EXPECT_TRUE(story.everyAgentHas(global, feeder, told));
  story.time().runTo(last + 131);
  EXPECT_TRUE(story.everyAgentHas(global, {}, told));
  // The end of the BSR renewed the RPs once more.
  story.time().runTo(last + 130 + 199);
  EXPECT_TRUE(story.everyAgentHas(global, {}, told));
  story.time().runTo(last + 130 + 201);
  EXPECT_TRUE(story.everyAgentHas(global, {}, nothing));
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

// A group in pieces, of which one that is at odds with the first, and one of another zone under the tag that everybody
// can see, come in between.
TEST_P(Protocol, MessagesThatContradictOneAnotherStopNobodyAndGoNoFurther) {
  Sim::RpTable table = story.table(global, 2, 2);
  Sim::Feeder &feeder = learnedChain(table);
  const Addresses &a = story.addresses;
  const Sim::Intf &intf = feeder.router().intfs()[0];
  const Pax::IpGenPrefix group = a.inScope(5, 1);
  const auto bsm = [&] { return Bsm(feeder.router().address()).hashMaskLen(story.hashMaskLen()).tag(7); };
  for (const Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage> piece : {
           bsm().piece(group, 3, {{a.host(1), 150, 0}, {a.host(2), 150, 0}}),
           bsm().piece(group, 3, {{a.host(3), 150, 0}, {a.host(4), 150, 0}}),
           bsm().scope(scope).piece(group, 3, {{a.host(5), 150, 0}, {a.host(6), 150, 0}}),
           bsm().piece(group, 3, {{a.host(3), 150, 0}}),
       }) {
    feeder.router().port()->send(intf.intfId(), *piece);
    story.time().runFor(0.5);
  }
  for (uint32_t n : {1, 2, 3}) table.group[group][a.host(n)] = {150, 0, story.hashMaskLen()};
  for (const char *name : {"a", "b", "c"}) {
    const auto &status = story.host(name).status();
    EXPECT_EQ(Sim::tableOf(*rpSetsOf(status, global)), table) << name;
    EXPECT_EQ(Sim::tableOf(*rpSetsOf(status, scope)), (Sim::RpTable{{{scope, {}}}})) << name;
    const auto &packets = story.network.router(name).port()->counters();
    EXPECT_EQ(packets.contradictingFragments, name[0] == 'a' ? 1u : 0u) << name;
  }
}

// Somebody feeds another zone with ever new RPs, as much as there is room for and more.
TEST_P(Protocol, AFloodOfRpsTakesNoRoomFromWhatIsKnownAndGivesItBack) {
  const Sim::RpTable table = story.table(global, 2, 4);
  for (const char *name : {"a", "b", "c"}) {
    Routing::Pim::Bsr::Limits limits;
    limits.rps = 40;
    story.host(name).config().limitsIs(limits);
  }
  Sim::Feeder &feeder = learnedChain(table);
  const auto held = [&](const char *name) {
    return Sim::tableOf(*rpSetsOf(story.host(name).status(), global)).rps() +
           Sim::tableOf(*rpSetsOf(story.host(name).status(), scope)).rps();
  };
  for (uint32_t n = 0; n < 60; ++n) {
    story.feed(feeder, scope, story.table(scope, 2, 30, n), 70);
    story.time().runFor(5);
    for (const char *name : {"a", "b", "c"}) {
      EXPECT_EQ(Sim::tableOf(*rpSetsOf(story.host(name).status(), global)), table) << name;
      EXPECT_LE(held(name), 40u) << name;
    }
  }
  for (const char *name : {"a", "b", "c"}) {
    EXPECT_EQ(held(name), 40u);
    EXPECT_GT(story.host(name).status().counters()->limitCounters().rps, 1000u);
  }
  const Sim::RpTable more = story.table(global, 3, 10);
  feeder.zoneIs(scope, {Bsm(feeder.router().address(), 70).scope(scope)});
  story.feed(feeder, global, more);
  EXPECT_TRUE(story.within(300, [&] { return Sim::tableOf(*rpSetsOf(story.host("c").status(), global)) == more; }))
      << "the flood is over, its RPs have expired, and the next message finds room";
}

TEST_P(Protocol, ARestartedRouterIsToldByTheBestOfThoseThatHaveNot) {
  enum Candidacy { none, begins, ends };
  const struct {
    std::vector<std::string> restarted;
    std::set<std::string> tellers;
    double echoes;               // of the restarted, those that pass on what they were just told, on average at most
    double again = 0;            // seconds after which they restart once more
    Candidacy candidacy = none;  // of c, shortly before
  } rows[] = {
      {{"a"}, {"d"}, 0.5},        {{"d"}, {"c"}, 1},      {{"d"}, {"c"}, 1, 1},        {{"d"}, {"c"}, 1, 0, begins},
      {{"d"}, {"c"}, 1, 0, ends}, {{"c", "d"}, {"b"}, 2}, {{"b", "c", "d"}, {"a"}, 2}, {{"a", "b", "c", "d"}, {}, 1.5},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.restarted[0] + " of " + std::to_string(row.restarted.size()));
    size_t echoes = 0;
    for (uint64_t seed = 1; seed <= 10; ++seed) {
      Story story(GetParam(), seed);
      story.chain({"feeder", "up"}, {1500});
      story.network.linkIs("wan", {"up", "a", "b", "c"});
      Sim::Link &lan = story.network.linkIs("lan", {"a", "b", "c", "d"});
      if (row.candidacy == ends) story.host("c").candidateBsrIs(global, 1);
      story.start({"up", "a", "b", "c", "d"});
      Sim::Feeder &feeder = story.feeder("feeder", 3600);  // so that no later message helps
      const Sim::RpTable table = story.table(global, 3, 4);
      story.feed(feeder, global, table);
      feeder.start();
      story.time().runFor(40);
      if (row.candidacy == begins) story.host("c").candidateBsrIs(global, 1);
      if (row.candidacy == ends) story.host("c").candidateBsrDel(global);
      std::set<std::string> tellers;
      lan.tapIs([&](const Sim::Packet &packet) {
        const bool isNoForward = (packet.payload[0] & 15) == 4 && packet.payload[1] & 0x80;
        if (isNoForward) tellers.insert(lan.memberWith(packet.source)->router().name());
      });
      for (const double wait : {row.again, 15.0}) {
        for (const std::string &name : row.restarted) {
          if (wait == 0) continue;
          story.host(name).powerOff();
          story.host(name).powerOn();
          story.host(name).start();
        }
        story.time().runFor(wait);
      }
      EXPECT_TRUE(row.tellers.empty() || story.everyAgentHas(global, feeder, table));
      for (const std::string &name : row.restarted) echoes += tellers.erase(name);
      EXPECT_EQ(tellers, row.tellers);
    }
    EXPECT_LE(echoes, 10 * row.echoes);
  }
}

FOR_BOTH_FAMILIES(Protocol);

}  // namespace
}  // namespace Test
