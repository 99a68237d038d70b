// What an elected BSR is to its neighbors and to routers farther away: through its restart, and when a zone
// inside its own appears.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/sim/Story.h"

namespace Test {
namespace {

namespace Packet = Routing::Pim::Packet;
using Names = std::vector<std::string>;

class ElectedBsr : public testing::TestWithParam<Addresses> {
 protected:
  ElectedBsr() : story(GetParam()), global(story.addresses.global()), group(story.addresses.group(1)) {}

  Sim::VirtualTime &time() { return story.time(); }
  Sim::Host &host(const std::string &name) { return story.host(name); }
  const Pax::IpGenAddr &address(const std::string &name) { return story.network.router(name).address(); }
  // The named router is the zone's BSR everywhere.
  bool leads(const std::string &name, const Names &among) {
    return std::ranges::all_of(among, [&](auto &other) { return host(other).bsr(global) == address(name); });
  }
  bool publishes(const std::string &name) { return host(name).rpSet().crpSet(group) != nullptr; }
  // Notes when messages of a BSR pass a link, each once.
  void watch(const std::string &link, const Pax::IpGenAddr &bsr) {
    story.network.link(link).tapIs([this, link, bsr](const Sim::Packet &packet) {
      const auto result = Packet::Codec(bsr.af()).decode(packet.payload, packet.source, packet.destination);
      const auto *bsm = dynamic_cast<const Packet::BootstrapMessage *>(result.message.get());
      if (bsm && bsm->bsrAddress() == bsr) passed[link].try_emplace(bsm->fragmentTag(), time().now());
    });
  }

  std::map<std::string, std::map<uint16_t, double>> passed;  ///< the time of each tag, by link
  Story story;
  const Pax::IpGenPrefix global, group;
};

TEST_P(ElectedBsr, IsMissedByNobodyInAnOutageShorterThanWhatIsLeftOfTheHoldTime) {
  const Names names{"r0", "r1", "r2", "r3"};
  story.chain(names, {1500});
  host("r1").candidateBsrIs(global, 64);
  host("r3").candidateRpIs(group);
  story.start(names);
  ASSERT_TRUE(story.within(60, [&] { return leads("r1", names) && publishes("r0"); }));
  for (const char *link : {"r0-r1", "r1-r2"}) watch(link, address("r1"));
  for (const double outage : {1.0, 15.0, 58.0}) {
    SCOPED_TRACE(outage);
    // The last message is a whole period old: of 130 seconds 70 are left.
    time().runFor(200);
    passed.clear();
    ASSERT_TRUE(story.within(61, [&] { return !passed.empty(); }));
    time().runFor(59.9);
    host("r1").crash();
    time().runFor(outage);
    passed.clear();
    const double started = time().now();
    host("r1").start();
    const Names others{"r0", "r2", "r3"};
    EXPECT_FALSE(story.within(150, [&] { return !leads("r1", others) || !publishes("r0") || !publishes("r3"); }));
    ASSERT_EQ(passed.size(), 2u);
    for (const auto &[link, messages] : passed) {
      EXPECT_TRUE(std::any_of(messages.begin(), messages.end(), [&](auto &m) { return m.second <= started + 10.01; }))
          << link;
    }
  }
}

TEST_P(ElectedBsr, GivesUpWhatAZoneInsideItsOwnCollects) {
  const Names names{"r0", "r1", "r2"};
  const Pax::IpGenPrefix scope = story.addresses.scope(5), inside = story.addresses.inScope(5, 1);
  story.chain(names, {1500});
  host("r0").candidateBsrIs(global, 64);
  const auto rp = host("r1").candidateRpIs(inside);
  rp->advIntervalIs(Routing::Pim::CrpAdvInterval(1000));
  host("r1").candidateRpIs(group);
  story.start(names);
  const auto knows = [&](const std::string &name) { return host(name).rpSet().crpSet(inside) != nullptr; };
  ASSERT_TRUE(story.within(60, [&] { return knows("r2"); }));
  host("r2").candidateBsrIs(scope, 64);
  EXPECT_FALSE(story.within(60, [&] { return !publishes("r0") || !publishes("r2"); })) << "what is outside stays";
  ASSERT_EQ(host("r0").bsr(scope), address("r2"));
  const auto inScope = [&] {
    const auto learned = host("r0").status().crpStatus(scope);
    return learned && learned->status()->crpSet(inside) != nullptr;
  };
  ASSERT_TRUE(inScope());
  rp->groupRangeDel(inside);
  ASSERT_TRUE(story.within(60, [&] { return !inScope(); }));
  host("r2").candidateBsrDel(scope);
  ASSERT_TRUE(story.within(
      300, [&] { return std::ranges::all_of(names, [&](auto &name) { return host(name).bsr(scope).isZero(); }); }));
  for (const std::string &name : names) EXPECT_FALSE(knows(name)) << name;
}

FOR_BOTH_FAMILIES(ElectedBsr);

}  // namespace
}  // namespace Test
