// Candidate RPs: how they advertise themselves, and how the BSR collects them.

#include <gtest/gtest.h>

#include "tests/support/Counts.h"
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
  using Groups = std::vector<CrpGroup>;
  using Said = std::vector<std::tuple<Pax::IpGenAddr, uint16_t, Groups>>;  // to whom, with which hold time

  Advertiser() : v(GetParam()), zone(v.a.global()), bsr(v.a.host(60)) { v.intfIs(1); }
  // We are a candidate RP, host(7), for the ranges with the priority.
  Kiv::Ptr<Bsr::RpCandidate> crpIs(const std::vector<Pax::IpGenPrefix> &prefixes) {
    const auto crp = v.status->crpIs(v.a.host(7));
    for (const auto &prefix : prefixes) {
      crp->prefixSetIs(prefix);
      crp->prefixOptionsIs(prefix)->priorityIs(priority);
    }
    return crp;
  }
  void hearBsr(uint32_t n) { v.hear(Bsm(v.a.host(n), static_cast<uint8_t>(n))); }
  // What is said from the last call on until then.
  Said saidWithin(double seconds) {
    v.advance(seconds);
    Said said;
    for (const auto &message : std::exchange(v.port->advertised, {})) {
      said.emplace_back(message->destination(), message->holdTime(), message->groupData()->groupInfo()->group);
      EXPECT_EQ(message->source(), v.a.host(7));
      EXPECT_EQ(message->rpAddress(), v.a.host(7));
      EXPECT_EQ(message->priority(), priority);
    }
    return said;
  }
  Counts counts() const {
    Counts all = countsOf(v.port->counters());
    all.merge(countsOf(v.counters()));
    return all;
  }

  TestVrf v;
  const Pax::IpGenPrefix zone;
  const Pax::IpGenAddr bsr;
  const CrpGroup one{v.a.group(1)}, two{v.a.group(2)};
  uint16_t priority = 10;
};

TEST_P(Advertiser, ThreeQuickOnesThenOneAnInterval) {
  crpIs({one.prefix, two.prefix});
  EXPECT_EQ(saidWithin(300), Said()) << "no BSR is known";
  hearBsr(60);
  const Counts before = counts();
  Tracelet::CaptureSink log;
  EXPECT_EQ(saidWithin(6.5), Said(3, {bsr, 180, {one, two}}));
  EXPECT_EQ(grown(before, counts()), (Counts{{"sent", 3}, {"tx", 3}, {"txSuccess", 3}}));
  EXPECT_TRUE(log.contains(" seconds from now. BackoffCount=\x01"));
  hearBsr(60);
  EXPECT_EQ(saidWithin(60), Said(1, {bsr, 180, {one, two}}));
  hearBsr(61);
  EXPECT_EQ(saidWithin(6.5), Said(3, {v.a.host(61), 180, {one, two}})) << "a new BSR is told quickly";
  v.status->crpDel(v.a.host(7));
  EXPECT_EQ(saidWithin(2), Said(1, {v.a.host(61), 0, {one, two}}));
  crpIs({one.prefix});
  EXPECT_EQ(saidWithin(6.5), Said(3, {v.a.host(61), 180, {one}})) << "and so is one that is known by a new RP";
}

TEST_P(Advertiser, AnotherIntervalCountsFromNowAndALongerOneIsToldTwiceAtOnce) {
  const auto crp = crpIs({one.prefix});
  hearBsr(60);
  EXPECT_EQ(saidWithin(20).size(), 3u);
  crp->intervalIs(Pim::CrpAdvInterval(20));
  EXPECT_EQ(saidWithin(19.9), Said());
  EXPECT_EQ(saidWithin(0.2), Said(1, {bsr, 60, {one}}));
  v.advance(10);
  crp->intervalIs(Pim::CrpAdvInterval(40));
  EXPECT_EQ(saidWithin(0), Said(1, {bsr, 120, {one}}));
  EXPECT_EQ(saidWithin(2.1), Said(1, {bsr, 120, {one}}));
  EXPECT_EQ(saidWithin(37.8), Said());
  EXPECT_EQ(saidWithin(0.2), Said(1, {bsr, 120, {one}}));
}

TEST_P(Advertiser, AScopeThatComesAndGoesMovesItsPrefixes) {
  const CrpGroup inside{v.a.inScope(5, 1)}, zoned{v.a.inScope(5, 1), true, false};
  const Said all{{bsr, 180, v.a.ipv4() ? Groups{one, inside} : Groups{inside, one}}};
  crpIs({one.prefix, inside.prefix});
  hearBsr(60);
  EXPECT_EQ(saidWithin(10).back(), all.back());
  v.hear(Bsm(v.a.host(61)).scope(v.a.scope(5)));
  const Said both{{bsr, 180, {one}}, {v.a.host(61), 180, {inside}}};
  const Said moved = saidWithin(9);
  EXPECT_EQ(moved.front(), Said::value_type(bsr, 0, {inside}));
  EXPECT_EQ(Said(moved.end() - 2, moved.end()), both);
  v.status->bsBorderIs(v.a.scope(5));
  EXPECT_EQ(saidWithin(60).back(), Said::value_type(v.a.host(61), 180, {zoned})) << "with Z: we are a border";
  for (int n = 0; n < 3; ++n) {
    v.advance(35);
    hearBsr(60);
  }
  ASSERT_FALSE(v.bsr(v.a.scope(5)));
  EXPECT_EQ(saidWithin(60).back(), all.back());
}

TEST_P(Advertiser, ARangeThatEndsIsWithdrawnSoonAndOneThatBecomesSparseAtOnce) {
  const CrpGroup bidirOne{one.prefix, false, true}, bidirTwo{two.prefix, false, true};
  const auto crp = crpIs({one.prefix, two.prefix});
  crp->modeIs(Pim::Mode::bidir);
  hearBsr(60);
  EXPECT_EQ(saidWithin(10), Said(3, {bsr, 180, {bidirOne, bidirTwo}}));
  crp->prefixSetDel(two.prefix);
  EXPECT_EQ(saidWithin(2.1), (Said{{bsr, 0, {bidirTwo}}, {bsr, 180, {bidirOne}}}));
  crp->modeIs(Pim::Mode::sparse);
  EXPECT_EQ(saidWithin(0), Said(1, {bsr, 0, {bidirOne}}));
  EXPECT_EQ(saidWithin(0.9), Said());
  EXPECT_EQ(saidWithin(5.1), Said(3, {bsr, 180, {one}}));
  crp->prefixSetIs(two.prefix);
  EXPECT_EQ(saidWithin(2.1), Said(1, {bsr, 180, {one, two}}));
  priority = 20;
  crpIs({two.prefix});
  crp->prefixOptionsDel(two.prefix);
  EXPECT_EQ(saidWithin(0), Said(1, {bsr, 0, {two}})) << "by the last to serve it, before it told";
}

TEST_P(Advertiser, AGoodbyeThatCannotBeSentIsTriedWithTwoMorePasses) {
  v.config->holdTimeIs(600);
  for (const bool all : {false, true}) {
    for (const int failures : {1, 2, 3}) {
      const auto crp = crpIs({one.prefix, two.prefix});
      hearBsr(60);
      v.advance(10);
      v.port->broken = true;
      all ? v.status->crpDel(v.a.host(7)) : crp->prefixSetDel(two.prefix);
      v.advance(2.1 + 60 * (failures - 1));
      v.port->broken = false;
      v.port->advertised.clear();
      Said expected;
      if (failures < 3) expected.emplace_back(bsr, 0, all ? Groups{one, two} : Groups{two});
      if (!all) expected.emplace_back(bsr, 180, Groups{one});
      EXPECT_EQ(saidWithin(60), expected) << failures;
      v.status->crpDel(v.a.host(7));
    }
  }
  crpIs({one.prefix});
  hearBsr(60);
  v.advance(601);
  ASSERT_FALSE(v.bsr(zone));
  v.status->crpDel(v.a.host(7));
  v.port->advertised.clear();
  hearBsr(61);
  EXPECT_EQ(saidWithin(60), (Said{{v.a.host(61), 0, {one}}})) << "which no BSR was there to hear";
}

TEST_P(Advertiser, Of300Ranges256AreSentAnd255CountedAndWithdrawn) {
  std::vector<Pax::IpGenPrefix> ranges;
  for (uint32_t n = 0; n < 300; ++n) ranges.push_back(v.a.group(n));
  crpIs(ranges);
  hearBsr(60);
  Tracelet::CaptureSink log;
  std::map<uint16_t, std::set<Pax::IpGenPrefix>> told;  // by hold time; in IPv6 it takes several packets
  const auto say = [&] {
    for (const auto &[to, holdTime, groups] : saidWithin(8)) {
      for (const CrpGroup &group : groups) told[holdTime].insert(group.prefix);
    }
  };
  say();
  EXPECT_EQ(log.count("Configured prefixes are greater than 255. Publishing only the maximum possible."), 3u);
  const auto &message = *v.sm->bsrSm().crpMsgStatus()->txCrpMsg();
  EXPECT_EQ(message.prefixCount(), 255);
  EXPECT_EQ(message.groupData()->groupInfo()->group.size(), 256u);
  v.status->crpDel(v.a.host(7));
  say();
  EXPECT_EQ(told[180].size(), 255u);
  EXPECT_EQ(told[0], told[180]);
}

FOR_BOTH_FAMILIES(Collection);
FOR_BOTH_FAMILIES(Advertiser);

}  // namespace
}  // namespace Test
