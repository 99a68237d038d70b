#include "plan/Account.h"

#include <nlohmann/json.hpp>

#include "plan/Outcome.h"
#include "tests/plan/Plans.h"

namespace Planning {
namespace {

constexpr double linkDelay = 0.001;
constexpr double holdTime = 130;    // of a BSR
constexpr double rpHoldTime = 180;  // that candidate RPs advertise by default
constexpr double interval = 60;     // of Bootstrap messages
constexpr double exact = 1e-6;

// r1 - r2 - r3 in a row: r1 is a candidate BSR of priority 65, and an RP, and r2 of 64.
std::string row(const std::string &members, const std::string &more = R"("r2": {"template": "candidate", "values":
    {"priority": 64}}, "r3": {})") {
  return R"({"templates": {"candidate": {"vrfConfig": {"default": {
      "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {"priority": "${priority}"}}}},
      "rpCandidateConfig": {"lo": {"groupRange": {"224.0.0.0/4": {}}}}}}}},
    "routers": {"r1": {"template": "candidate", "values": {"priority": 65}}, )" +
         more + R"(}, "links": [{"between": ["r1", "r2"]}, {"between": ["r2", "r3"]}], )" + members + "}";
}

// With nobody but r1 to be the BSR.
std::string rowWithOne(const std::string &members) { return row(members, R"("r2": {}, "r3": {})"); }

// Plays and keeps the account.
struct Played {
  explicit Played(const std::string &text)
      : plan(planFrom(text)), simulation(plan, 1), account(simulation), judge(simulation, account) {
    simulation.runTo(plan.duration);
    outcome = outcomeOf(1, simulation, account, judge);
  }
  const ZoneAccount &zone(const char *prefix = "224.0.0.0/4") const {
    return *account.zone(Pax::IpGenPrefix::fromText(prefix));
  }
  bool agrees() const { return !account.disagreement({"default", Pax::allGroups(plan.family)}).isOpen(); }
  std::vector<Span> spans(Outage outage, size_t router, double from) const {
    return zone().of(outage, router).within(from, plan.duration).all();
  }

  const Plan plan;
  Simulation simulation;
  Account account;
  const Judge judge;
  Outcome outcome;
};

TEST(Account, WhoTakesOverWaitsForItsWeight) {
  const Played played(row(R"("events": [{"at": 200, "crash": "r1"}], "duration": 600)"));
  // RFC 5059 section 3.3: r2 takes over 5 + 2 * log2(1 + 65 - 64) seconds after the hold time, and has no BSR until
  // then. r3 loses r1 when r2 does, and hears of r2, each a link's delay later.
  const double override = 7;
  const auto without = played.spans(Outage::withoutBsr, 2, 200);
  ASSERT_EQ(without.size(), 1u);
  EXPECT_NEAR(without[0].length(), override, exact);
  EXPECT_EQ(played.spans(Outage::withoutBsr, 1, 200).size(), 1u);
  EXPECT_TRUE(played.spans(Outage::withoutBsr, 0, 200).empty()) << "its agent does not run";
  // They disagree for the link's delay each time, and then from when r2 has not heard the RP of r1 for its hold time,
  // until r3 has not heard of it for as long from r2's first message on.
  const auto disagreed = played.spans(Outage::disagreed, 2, 200);
  ASSERT_EQ(disagreed.size(), 3u);
  EXPECT_NEAR(disagreed[0].from + override, disagreed[1].from, exact);
  EXPECT_NEAR(disagreed[2].to, disagreed[1].to + rpHoldTime, exact);
  EXPECT_EQ(played.spans(Outage::disagreed, 1, 200), disagreed);
  const EpisodeFigures &episode = played.outcome.episodes.at(1);
  EXPECT_EQ(episode.what, "The agent of r1 crashes");
  ASSERT_EQ(episode.zones.size(), 1u);
  const ZoneFigures &figures = episode.zones[0];
  EXPECT_EQ(figures.nodes, 2u);
  EXPECT_NEAR(figures.withoutBsr.least, override, exact);
  EXPECT_NEAR(figures.withoutBsr.most, override, exact);
  EXPECT_EQ(figures.withoutBsr.nodes, 2u);
  EXPECT_EQ(figures.withoutRp, Spread());
  EXPECT_NEAR(figures.agreedAfter.value_or(0), disagreed[2].to - 200, exact);
}

TEST(Account, ASiteThatACutIsolatesHasNoBsrAcrossEvents) {
  const Played played(rowWithOne(R"("events": [{"at": 200, "cut": "r1-r2"}, {"at": 400, "cut": "r2-r3"},
      {"at": 450, "heal": "r2-r3"}, {"at": 500, "heal": "r1-r2"}], "duration": 700,
      "expect": [{"withoutBsr": 100, "from": 100}, {"withoutBsr": 100, "from": 100, "to": 400}])"));
  // The last message before the cut was the fourth, or so.
  const auto without = played.spans(Outage::withoutBsr, 1, 100);
  ASSERT_EQ(without.size(), 1u);
  EXPECT_GT(without[0].from, 200 + holdTime - interval);
  EXPECT_LE(without[0].from, 200 + holdTime);
  EXPECT_GT(without[0].to, 500) << "one outage, whatever happens in it";
  for (size_t episode : {2, 3}) {  // of 50 s each
    EXPECT_NEAR(played.outcome.episodes.at(episode).zones.at(0).withoutBsr.most, 50, exact);
    EXPECT_EQ(played.outcome.episodes[episode].zones[0].withoutBsr.nodes, 2u);
  }
  // r2 loses it a link's delay before r3; then the parts agree on what they have, which is nothing for one.
  const auto disagreed = played.spans(Outage::disagreed, 1, 100);
  ASSERT_GE(disagreed.size(), 1u);
  EXPECT_NEAR(disagreed[0].length(), linkDelay, exact);
  EXPECT_EQ(played.outcome.episodes[1].zones[0].agreedAfter, std::nullopt);
  EXPECT_TRUE(played.outcome.episodes[4].zones[0].agreedAfter);
  EXPECT_TRUE(played.spans(Outage::withoutBsr, 0, 100).empty());
  EXPECT_FALSE(played.outcome.verdicts[0].holds);
  EXPECT_TRUE(played.outcome.verdicts[1].holds) << played.outcome.verdicts[1].seen;
}

TEST(Account, AnAgentThatEndsIsWithoutNothing) {
  const Played played(rowWithOne(R"("events": [{"at": 200, "cut": "r1-r2"}, {"at": 400, "crash": "r3"},
      {"at": 410, "standby": "r2"}], "duration": 500)"));
  for (size_t node : {1, 2}) {
    const auto without = played.spans(Outage::withoutBsr, node, 100);
    ASSERT_EQ(without.size(), 1u);
    EXPECT_EQ(without[0].to, node == 2 ? 400 : 410);
  }
  EXPECT_TRUE(played.agrees()) << "r1 is left";
}

TEST(Account, WhoHearsNothingOverALossyLinkDisagrees) {
  const Played played(rowWithOne(R"("events": [{"at": 200, "change": "r2-r3", "loss": 1}], "duration": 500)"));
  const auto without = played.spans(Outage::withoutBsr, 2, 100);
  ASSERT_EQ(without.size(), 1u);
  EXPECT_EQ(without[0].to, 500);
  EXPECT_EQ(played.spans(Outage::disagreed, 0, 100), without) << "the link is there: all know of each other";
  EXPECT_EQ(played.outcome.bsrs.size(), 2u);
  EXPECT_EQ(played.outcome.bsrs[0],
            (BsrAtEnd{{"default", Pax::allGroups(Pax::AddressFamily::ipv4)}, "192.168.0.1", "r1", 2}));
  EXPECT_EQ(played.outcome.bsrs[1].address, "");
}

TEST(Account, AnAgentThatRestartsWithinTheHoldTimeIsNotMissed) {
  const Played played(row(R"("events": [{"at": 200, "crash": "r1"}, {"at": 210, "start": "r1"}], "duration": 600)"));
  for (size_t episode : {1, 2}) {
    const ZoneFigures &figures = played.outcome.episodes.at(episode).zones.at(0);
    EXPECT_EQ(figures.nodes, episode + 1);
    EXPECT_EQ(figures.withoutBsr, Spread());
    EXPECT_EQ(figures.withoutRp, Spread());
    EXPECT_EQ(figures.disagreed, Spread());
    EXPECT_EQ(figures.agreedAfter, 0);
  }
  EXPECT_EQ(played.zone().counted(0).all(), (std::vector<Span>{{0, 200}, {210, Spans::open}}));
}

constexpr const char *bordered =
    R"("r2": {"configuration": {"intfConfig": {"eth1": {"bsrBorderGrp": ["239.0.0.0/8"]}}}},
    "r3": {}, "s1": {"configuration": {"vrfConfig": {"default": {
      "bsrCandidateConfig": {"lo": {"group": {"239.0.0.0/8": {}}}}}}}}, "s2": {"start": 2})";

TEST(Account, WhoIsOutsideTheBorderOfAZoneIsNotWithoutItsBsr) {
  std::string text = row(R"("events": [{"at": 200, "reload": "r2", "configuration": {}}], "duration": 400)", bordered);
  text.insert(text.find(R"({"between": ["r2", "r3"]})"), R"({"between": ["s1", "r1"]}, {"between": ["s2", "r2"]}, )");
  text.replace(text.find(R"("eth1")"), 6, R"("eth2")");  // toward r3
  const Played played(text);
  const ZoneAccount &zone = played.zone("239.0.0.0/8");
  // r1, r2, s1 and s2 count from the beginning, as for all groups, and r3 from when the border is gone.
  for (size_t node : {0, 1, 3}) EXPECT_EQ(zone.counted(node).all(), (std::vector<Span>{{0, Spans::open}})) << node;
  EXPECT_EQ(zone.counted(4).all(), (std::vector<Span>{{2, Spans::open}})) << "when its agent starts";
  EXPECT_EQ(zone.counted(2).all(), (std::vector<Span>{{200, Spans::open}}));
  EXPECT_EQ(played.outcome.episodes[0].zones.at(1).nodes, 4u);
  EXPECT_GT(played.outcome.episodes[0].zones[1].withoutBsr.least, 0) << "it took an election";
  const ZoneFigures &after = played.outcome.episodes[1].zones[1];
  EXPECT_EQ(after.withoutBsr.nodes, 1u);
  EXPECT_EQ(after.withoutBsr.which, "r3");
  EXPECT_NEAR(after.agreedAfter.value_or(0), after.withoutBsr.most, exact);
}

TEST(Account, PartsThatEachHaveABsrAgree) {
  const Played played(R"({"templates": {"candidate": {"vrfConfig": {"default": {
      "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {"priority": "${number}"}}}}}}}},
    "routers": {"r1": {"template": "candidate"}, "r2": {"template": "candidate"}, "r3": {}},
    "links": [{"between": ["r3", "r1"]}, {"between": ["r1", "r2"]}],
    "events": [{"at": 200, "cut": "r1-r2"}], "duration": 500})");
  EXPECT_TRUE(played.agrees());
  EXPECT_EQ(played.outcome.bsrs.size(), 2u);
  EXPECT_TRUE(played.spans(Outage::disagreed, 1, 200).empty()) << "alone it agrees with itself";
  EXPECT_EQ(played.spans(Outage::disagreed, 0, 200), played.spans(Outage::disagreed, 2, 200));
  EXPECT_FALSE(played.spans(Outage::disagreed, 0, 200).empty());
}

TEST(Account, AVrfWithoutCandidatesIsNotWithoutBsr) {
  const Played played(R"({"routers": {
      "r1": {"configuration": {"vrfConfig": {"blue": {"bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}}}}}},
      "r2": {}},
    "links": [{"between": ["r1", "r2"]}, {"between": ["r1/blue", "r2/blue"], "name": "blue"}], "duration": 100,
    "expect": [{"at": 50, "bsr": "none"}, {"agree": 1}]})");
  for (const Verdict &each : played.outcome.verdicts) {
    EXPECT_EQ(each.seen, "no router ran that knew 224.0.0.0/4 in VRF default");
  }
  const EpisodeFigures &episode = played.outcome.episodes.at(0);
  ASSERT_EQ(episode.zones.size(), 1u);
  EXPECT_EQ(episode.zones[0].nodes, 2u);
  EXPECT_TRUE(episode.zones[0].agreedAfter);
  ASSERT_EQ(played.outcome.bsrs.size(), 1u);
  EXPECT_EQ(played.outcome.bsrs[0].nodes, 2u);
}

TEST(Account, ZonesOfTwoVrfsAreApart) {
  const Played played(twoVrfs);
  ASSERT_EQ(played.outcome.episodes.size(), 2u);
  const std::vector<ZoneFigures> &zones = played.outcome.episodes[1].zones;
  ASSERT_EQ(zones.size(), 2u);
  EXPECT_EQ(zones[0].domain.vrf, "default");
  EXPECT_EQ(zones[0].nodes, 3u);
  EXPECT_EQ(zones[0].withoutBsr.nodes, 2u);
  EXPECT_EQ(zones[0].withoutBsr.which, "r2");
  EXPECT_EQ(zones[0].agreedAfter, std::nullopt);
  EXPECT_EQ(zones[1].domain.vrf, "blue");
  EXPECT_EQ(zones[1].nodes, 2u);
  EXPECT_EQ(zones[1].withoutBsr, Spread());
  EXPECT_EQ(zones[1].disagreed, Spread());
  EXPECT_EQ(zones[1].agreedAfter, 0);
  std::vector<std::string> bsrs;
  for (const BsrAtEnd &bsr : played.outcome.bsrs) {
    bsrs.push_back(bsr.domain.vrf + " " + bsr.router + " " + std::to_string(bsr.nodes));
  }
  EXPECT_EQ(bsrs, (std::vector<std::string>{"default  2", "default r1 1", "blue r1 2"}));
}

TEST(Account, WhoHearsOfAZoneThroughALinkToAnotherVrfMayDisagreeWithIt) {
  // r2 is a customer of r1, whose VRF of it is blue; nothing gets through.
  const Played played(R"({"routers": {"r1": {"configuration": {"vrfConfig": {"blue": {
      "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}}}}}}, "r2": {}, "r3": {}},
    "links": [{"between": ["r1/blue", "r2"], "name": "line", "loss": 1}, {"between": ["r2", "r3"]}],
    "events": [{"at": 100, "cut": "line"}], "duration": 200})");
  const std::vector<ZoneFigures> &zones = played.outcome.episodes.at(0).zones;
  ASSERT_EQ(zones.size(), 2u);
  EXPECT_EQ(zones[0].withoutBsr.which, "r2");
  EXPECT_EQ(zones[1].withoutBsr.nodes, 1u) << "until it was elected";
  EXPECT_LT(zones[1].withoutBsr.most, 20);
  for (const ZoneFigures &zone : zones) {
    EXPECT_GT(zone.disagreed.most, 80) << zone.domain.vrf;
    EXPECT_EQ(zone.agreedAfter, std::nullopt) << zone.domain.vrf;
  }
  EXPECT_EQ(played.outcome.episodes.at(1).zones.at(1).agreedAfter, 0) << "r1 is alone";
}

TEST(Outcome, IsTheSameForTheSameSeed) {
  const Plan plan = planFrom(row(R"("events": [{"at": 200, "crash": "r1"}],
      "expect": [{"at": 100, "bsr": "r1"}, {"at": 100, "bsr": "r2"}])"));
  const auto json = toJson(play(plan, 7));
  EXPECT_EQ(toJson(play(plan, 7)), json);
  EXPECT_NE(toJson(play(plan, 8)).dump(), json.dump());
}

TEST(Spans, ArePutTogetherAndCut) {
  Spans spans;
  spans.begin(1);
  spans.end(2);
  spans.begin(2);
  spans.end(3);
  spans.begin(5);
  spans.end(5);
  spans.begin(6);
  EXPECT_EQ(spans.all(), (std::vector<Span>{{1, 3}, {6, Spans::open}}));
  EXPECT_EQ(spans.within(2, 8).all(), (std::vector<Span>{{2, 3}, {6, 8}}));
  EXPECT_EQ(spans.within(2, 8).sum(), 3);
  EXPECT_EQ(spans.within(2, 8).longest(), (Span{6, 8}));
  EXPECT_TRUE(spans.within(3, 6).all().empty());
  EXPECT_EQ(spans.inverted(0, 7).all(), (std::vector<Span>{{0, 1}, {3, 6}}));
  Spans other;
  other.begin(2.5);
  other.end(6);
  EXPECT_EQ(spans.joined(other).all(), (std::vector<Span>{{1, Spans::open}}));
}

}  // namespace
}  // namespace Planning
