// Candidate RPs: how they advertise themselves, and how the BSR collects them.

#include <gtest/gtest.h>

#include "io/RpCandidateSm.h"
#include "tests/support/TestVrf.h"

namespace Test {
namespace {

using Pim::Packet::CrpGroup;

class Collection : public testing::TestWithParam<Addresses> {
 protected:
  Collection() : v(GetParam()), zone(v.a.global()), prefix(v.a.group(1)), us(v.a.host(50)) {
    v.intfIs(1);
    v.candidateIs(zone, 50, 64);
    v.advance(11);
  }
  Kiv::Ptr<Pim::RpCandidate> rp(uint32_t n) {
    const auto set = v.set(zone, prefix);
    return set ? set->rp(v.a.host(n)) : nullptr;
  }

  TestVrf v;
  const Pax::IpGenPrefix zone;
  const Pax::IpGenPrefix prefix;
  const Pax::IpGenAddr us;
};

TEST_P(Collection, BidirectionalWinsWhicheverComesFirst) {
  v.hearCrp(7, us, {{prefix}});
  v.hearCrp(7, us, {{prefix, false, true}});
  EXPECT_EQ(rp(7)->pimMode(), Pim::Mode::bidir);
  v.hearCrp(7, us, {{prefix}}, 300);
  EXPECT_EQ(rp(7)->pimMode(), Pim::Mode::bidir);
  EXPECT_EQ(rp(7)->holdTime(), 180) << "the sparse one was ignored";
}

TEST_P(Collection, AtMostTheBest255RpsOfAPrefixAreSent) {
  for (uint32_t n = 100; n < 360; ++n) v.hearCrp(n, us, {{prefix}}, 180, n < 110 ? 9 : 1);
  v.advance(60);
  std::map<Pax::IpGenAddr, uint16_t> seen;
  for (const auto &sent : v.port->sent) {
    if (sent.bsm->fragmentTag() != v.port->sent.back().bsm->fragmentTag()) continue;
    for (const auto &group : sent.bsm->groupData()) {
      for (const auto &rp : group->rpList()) seen[rp.address] = rp.holdTime;
    }
  }
  EXPECT_EQ(seen.size(), 255u);
  EXPECT_FALSE(seen.contains(v.a.host(100))) << "the worst go: lesser priority, lower address";
  EXPECT_TRUE(seen.contains(v.a.host(109)));
}

class Advertiser : public testing::TestWithParam<Addresses> {
 protected:
  Advertiser() : v(GetParam()), zone(v.a.global()), bsr(v.a.host(60)) { v.intfIs(1); }
  /// We are a candidate RP, host(7), for the ranges with this priority.
  Kiv::Ptr<Bsr::RpCandidate> crpIs(const std::vector<Pax::IpGenPrefix> &prefixes, uint16_t priority = 10) {
    const auto crp = v.status->crpIs(v.a.host(7));
    for (const auto &prefix : prefixes) {
      crp->prefixSetIs(prefix);
      crp->prefixOptionsIs(prefix)->priorityIs(priority);
    }
    return crp;
  }
  std::vector<Kiv::Ptr<Pim::Packet::CrpAdvMessage>> sentWithin(double seconds) {
    v.port->advertised.clear();
    v.advance(seconds);
    return v.port->advertised;
  }
  void hearBsr(uint32_t n) { v.hear(Bsm(v.a.host(n), static_cast<uint8_t>(n))); }

  TestVrf v;
  const Pax::IpGenPrefix zone;
  const Pax::IpGenAddr bsr;
};

TEST_P(Advertiser, ThreeQuickOnesThenOneAnInterval) {
  crpIs({v.a.group(1), v.a.group(2)});
  EXPECT_TRUE(sentWithin(300).empty()) << "no BSR is known";
  hearBsr(60);
  const auto quick = sentWithin(6.5);
  ASSERT_EQ(quick.size(), 3u);
  EXPECT_EQ(quick[0]->destination(), bsr);
  EXPECT_EQ(quick[0]->source(), v.a.host(7));
  EXPECT_EQ(quick[0]->rpAddress(), v.a.host(7));
  EXPECT_EQ(quick[0]->holdTime(), 180);
  EXPECT_EQ(quick[0]->priority(), 10);
  EXPECT_EQ(quick[0]->groupData()->groupInfo()->group.size(), 2u);
  hearBsr(60);
  EXPECT_EQ(sentWithin(60).size(), 1u);
  hearBsr(61);
  const auto again = sentWithin(6.5);
  ASSERT_EQ(again.size(), 3u) << "a new BSR is told quickly";
  EXPECT_EQ(again[0]->destination(), v.a.host(61));
}

TEST_P(Advertiser, AScopeThatComesAndGoesMovesItsPrefixes) {
  crpIs({v.a.inScope(5, 1), v.a.group(1)});
  hearBsr(60);
  v.advance(10);
  v.status->bsBorderIs(v.a.scope(5));
  v.hear(Bsm(v.a.host(61)).scope(v.a.scope(5)));
  std::map<Pax::IpGenAddr, std::vector<CrpGroup>> told;
  for (const auto &message : sentWithin(6.5)) told[message->destination()] = message->groupData()->groupInfo()->group;
  EXPECT_EQ(told[bsr], (std::vector<CrpGroup>{{v.a.group(1)}}));
  EXPECT_EQ(told[v.a.host(61)], (std::vector<CrpGroup>{{v.a.inScope(5, 1), true, false}})) << "with Z: we are a border";
  for (int n = 0; n < 3; ++n) {
    v.advance(50);
    hearBsr(60);
  }
  ASSERT_FALSE(v.bsr(v.a.scope(5)));
  told.clear();
  for (const auto &message : sentWithin(60)) told[message->destination()] = message->groupData()->groupInfo()->group;
  EXPECT_EQ(told[bsr].size(), 2u);
  EXPECT_FALSE(told.contains(v.a.host(61)));
}

TEST_P(Advertiser, ARangeOrModeThatEndsIsWithdrawnSoonAndTheRestToldAnew) {
  const auto crp = crpIs({v.a.group(1), v.a.group(2)});
  crp->modeIs(Pim::Mode::bidir);
  hearBsr(60);
  using Groups = std::vector<CrpGroup>;
  const CrpGroup bidir{v.a.group(1), false, true}, sparse{v.a.group(1)};
  const auto expectWithdrawn = [&](const Groups &gone, const Groups &rest) {
    const auto sent = sentWithin(2.5);
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0]->holdTime(), 0);
    EXPECT_EQ(sent[0]->groupData()->groupInfo()->group, gone);
    EXPECT_EQ(sent[1]->groupData()->groupInfo()->group, rest);
  };
  v.advance(10);
  crp->prefixSetDel(v.a.group(2));
  expectWithdrawn({{v.a.group(2), false, true}}, {bidir});
  v.advance(10);
  crp->modeIs(Pim::Mode::sparse);
  expectWithdrawn({bidir}, {sparse});
}

TEST_P(Advertiser, MoreThan255RangesAreCountedAs255) {
  std::vector<Pax::IpGenPrefix> ranges;
  for (uint32_t n = 0; n < 300; ++n) ranges.push_back(n < 250 ? v.a.group(n) : v.a.inScope(9, n - 250));
  crpIs(ranges);
  hearBsr(60);
  Tracelet::CaptureSink log;
  v.advance(2.1);
  EXPECT_TRUE(log.contains("Configured prefixes are greater than 255. Publishing only the maximum possible."));
  EXPECT_EQ(v.sm->container().packetPort->counters().sendFailed, 0u);
}

INSTANTIATE_TEST_SUITE_P(Families, Collection, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; });
INSTANTIATE_TEST_SUITE_P(Families, Advertiser, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; });

}  // namespace
}  // namespace Test
