// Stories of networks whose routers elect their BSR among themselves and collect their RPs.
#include <gtest/gtest.h>

#include "sim/Agreement.h"
#include "tests/sim/Story.h"

namespace Test {
namespace {

using Names = std::vector<std::string>;

// Five agents r0 to r4, all of them candidate BSRs of the global zone. r3 has the highest weight, by
// its address, r1 the next; r1 and r2 are candidate RPs.
class FiveCandidates {
 public:
  FiveCandidates(const Addresses &addresses, uint64_t seed = 1)
      : story(addresses, seed), global(addresses.global()), scope(addresses.scope(5)) {
    for (const std::string &name : names) story.network.router(name);
  }
  void lan() { story.network.linkIs("lan", names); }
  void ring(const Sim::LinkParameters &parameters = {}) {
    story.chain({"r0", "r1", "r2", "r3", "r4", "r0"}, {1500}, parameters);
  }
  void tree() {
    story.chain({"r1", "r0", "r2", "r3"}, {1500});
    story.chain({"r2", "r4"}, {1500});
  }
  void start(const std::string &name) {
    const std::map<std::string, uint16_t> priority{{"r0", 10}, {"r1", 64}, {"r2", 0}, {"r3", 64}, {"r4", 63}};
    host(name).candidateBsrIs(global, priority.at(name));
    if (name == "r1" || name == "r2") host(name).candidateRpIs(group1);
    if (name == "r2") host(name).candidateRpIs(group2);
    host(name).router().powerIs(true);
    host(name).start();
  }
  void startAll() {
    for (const std::string &name : names) start(name);
    EXPECT_TRUE(within(60, "r3", bothRps)) << why;
  }

  // Groups and the routers that are their RPs.
  using Rps = std::map<Pax::IpGenPrefix, Names>;
  // The routers come to agree within so many seconds that this one is the zone's BSR and these its RPs.
  bool within(double seconds, const std::string &bsr, const Rps &rps, const Names &among = names) {
    return story.within(seconds, [&] { return agree(bsr, global, rps, among); });
  }
  bool agree(const std::string &bsr, const Pax::IpGenPrefix &zone, const Rps &rps, const Names &among = names) {
    std::vector<const Sim::Host *> hosts;
    for (const std::string &name : among) hosts.push_back(&host(name));
    const Sim::ZoneView view = zoneViewOf(host(among[0]).runs() ? host(among[0]) : host(among[1]), zone);
    Rps known;
    for (const auto &[groups, entries] : view.table.group) {
      auto &routers = known[groups];
      for (const auto &[address, entry] : entries) routers.push_back(nameOf(address));
    }
    std::ostringstream text;
    text << disagreement(hosts, zone) << view;
    why = text.str();
    return view.bsr == address(bsr) && known == rps && disagreement(hosts, zone).empty();
  }

  Sim::Host &host(const std::string &name) { return story.host(name); }
  const Pax::IpGenAddr &address(const std::string &name) { return story.network.router(name).address(); }
  std::string nameOf(const Pax::IpGenAddr &owned) {
    const auto owner = std::find_if(names.begin(), names.end(), [&](auto &name) { return address(name) == owned; });
    return owner == names.end() ? "nobody" : *owner;
  }
  Sim::Link &link(const std::string &name) const { return story.network.link(name); }

  static const inline Names names{"r0", "r1", "r2", "r3", "r4"};
  Story story;
  const Pax::IpGenPrefix global, scope;
  const Pax::IpGenPrefix group1 = story.addresses.group(1), group2 = story.addresses.group(2);
  const Rps bothRps{{group1, {"r1", "r2"}}, {group2, {"r2"}}};
  std::string why;  ///< what stood at the last look
};

class Election : public testing::TestWithParam<Addresses>, public FiveCandidates {
 protected:
  Election() : FiveCandidates(GetParam()) {}
};

TEST_P(Election, EndsWithTheHighestWeightOnALanARingAndATreeNoMatterWhoStartsWhen) {
  for (uint64_t seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    FiveCandidates network(GetParam(), seed);
    seed % 3 == 0 ? network.lan() : seed % 3 == 1 ? network.ring() : network.tree();
    Orb::Random random(seed);
    auto &time = network.story.time();
    const double spread = seed > 6 ? 300 : 20;
    for (const std::string &name : names) {
      time.at(time.now() + random.uniform(0, spread), [&] { network.start(name); });
    }
    time.runFor(spread);
    EXPECT_TRUE(network.within(70, "r3", network.bothRps)) << network.why;
    time.runFor(600);
    EXPECT_TRUE(network.agree("r3", global, network.bothRps)) << network.why;
  }
}

TEST_P(Election, TheNextTakesOverFromADeadBsrAndTheDeadOneTakesItBack) {
  ring();
  startAll();
  host("r3").powerOff();
  EXPECT_TRUE(within(130 + 15 + 20, "r1", bothRps)) << why;
  story.time().runFor(600);
  start("r3");
  EXPECT_TRUE(within(60, "r3", bothRps)) << why;
}

TEST_P(Election, ACandidateThatIsTakenBackHandsOverAtOnce) {
  tree();
  startAll();
  host("r3").candidateBsrDel(global);
  EXPECT_TRUE(within(15 + 20, "r1", bothRps)) << why;
  host("r1").candidateBsrDel(global);
  EXPECT_TRUE(within(15 + 20, "r4", bothRps)) << why;
}

TEST_P(Election, APartElectsItsOwnAndBothHealIntoOne) {
  ring();
  startAll();
  for (const char *name : {"r1-r2", "r4-r0"}) link(name).cut();
  story.time().runFor(130 + 180 + 180 + 60);
  EXPECT_TRUE(agree("r1", global, {{group1, {"r1"}}}, {"r0", "r1"})) << why;
  EXPECT_TRUE(agree("r3", global, {{group1, {"r2"}}, {group2, {"r2"}}}, {"r2", "r3", "r4"})) << why;
  for (const char *name : {"r1-r2", "r4-r0"}) link(name).heal();
  EXPECT_TRUE(within(105 + 60, "r3", bothRps)) << why;
  story.time().runFor(600);
  EXPECT_TRUE(agree("r3", global, bothRps)) << why;
}

TEST_P(Election, AScopedZoneHasItsOwnBsrAndEndsAtItsBorder) {
  const Names inZone{"r0", "r1", "r2", "r4"};
  story.network.linkIs("lan", inZone);
  story.chain({"r4", "r3"}, {1500});
  const Pax::IpGenPrefix inside = story.addresses.inScope(5, 1);
  const Rps scopedRps{{scope, {}}, {inside, {"r4"}}};
  host("r4").borderIs(scope, host("r4").router().intfAt(link("r4-r3")).intfId());
  host("r4").candidateRpIs(inside);
  host("r0").candidateBsrIs(scope, 9);
  host("r2").candidateBsrIs(scope, 8);
  for (const std::string &name : names) start(name);
  story.time().runFor(120);
  EXPECT_TRUE(agree("r3", global, bothRps)) << why;
  EXPECT_TRUE(agree("r0", scope, scopedRps, inZone)) << why;
  EXPECT_EQ(host("r3").bsr(scope), Pax::IpGenAddr());
  host("r0").powerOff();
  story.time().runFor(130 + 15 + 20);
  EXPECT_TRUE(agree("r3", global, bothRps)) << why;
  EXPECT_TRUE(agree("r2", scope, scopedRps, inZone)) << why;
}

FOR_BOTH_FAMILIES(Election);

}  // namespace
}  // namespace Test
