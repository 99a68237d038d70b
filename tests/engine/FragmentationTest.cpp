// Messages cut to fit an MTU, and where they are sent.

#include <gtest/gtest.h>

#include <random>

#include "tests/support/TestVrf.h"

namespace Test {
namespace {

using Blocks = std::map<Pax::IpGenPrefix, std::vector<Pax::IpGenAddr>>;

class Fragmentation : public testing::TestWithParam<Addresses> {
 protected:
  Fragmentation() : a(GetParam()) {}

  std::vector<Bsm::Rp> rps(uint32_t count) {
    std::vector<Bsm::Rp> result;
    for (uint32_t n = 1; n <= count; ++n) result.push_back({a.host(n), 150, static_cast<uint8_t>(n)});
    return result;
  }
  static uint32_t length(const Pim::Packet::BootstrapMessage &bsm) {
    uint32_t result = 36;
    for (const auto &group : bsm.groupData()) result += 12 + 12 * static_cast<uint32_t>(group->rpList().size());
    return result;
  }

  const Addresses a;
};

TEST_P(Fragmentation, AMessageThatJustFitsGoesWholeAndOneByteLessCutsIt) {
  TestVrf v(a);
  v.intfIs(1, 36 + 2 * 48);
  v.intfIs(2, 36 + 2 * 48 - 1);
  v.hear(Bsm(a.host(200)).group(a.group(1), rps(3)).group(a.group(2), rps(3)));
  ASSERT_EQ(v.port->sent.size(), 3u);
  EXPECT_EQ(v.port->sent[0].bsm->groupData().size(), 2u);
  EXPECT_EQ(v.port->sent[1].intfId, v.intf(2));
  EXPECT_EQ(v.port->sent[2].intfId, v.intf(2));
}

TEST_P(Fragmentation, FloodsTheArrivalInterfaceTooButNoBorderNorWhereNobodyIs) {
  TestVrf v(a);
  for (const uint32_t n : {1u, 2u, 3u, 4u, 5u}) v.intfIs(n);
  v.pimStatus->pimIntf(v.intf(2))->neighborDel(v.neighbor(2));
  v.status->bsBorderIs(a.global())->intfIdIs(v.intf(3));
  v.pimStatus->pimIntf(v.intf(4))->mtuIs(72);
  v.hear(Bsm(a.host(200)).group(a.group(1), rps(3)));
  ASSERT_EQ(v.port->sent.size(), 2u);
  EXPECT_EQ(v.port->sent[0].intfId, v.intf(1));
  EXPECT_EQ(v.port->sent[1].intfId, v.intf(5));
  EXPECT_EQ(v.port->sent[0].bsm->bsrAddress(), a.host(200));
}

/// Random messages over random MTUs: every RP of the source once and in order, no fragment over the
/// MTU, the zone's block first in scoped zones, counts that hold.
TEST_P(Fragmentation, EveryRpGoesOutOnceInFragmentsThatFit) {
  const uint64_t seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(static_cast<uint32_t>(seed));
  const auto pick = [&](uint32_t n) { return static_cast<uint32_t>(random() % n); };
  for (int round = 0; round < 400; ++round) {
    const uint32_t mtu = a.ipv4() ? 73 + pick(2028) : 288 + pick(763);
    const bool scoped = pick(2) == 0;
    TestVrf v(a);
    v.intfIs(1, mtu);
    Bsm source(a.host(200), 9);
    source.tag(static_cast<uint16_t>(pick(65536)));
    Blocks expected;
    const Pax::IpGenPrefix zone = scoped ? a.scope(5) : a.global();
    if (scoped) source.scope(zone, rps(pick(3) == 0 ? pick(256) : 0));
    const uint32_t most = std::vector<uint32_t>{1, 4, 30, 256}[pick(4)];
    for (uint32_t n = pick(120); n > 0; --n) {
      source.group(scoped ? a.inScope(5, n) : a.group(n), rps(1 + pick(most - 1 ? most - 1 : 1)));
    }
    const Kiv::Ptr<Pim::Packet::BootstrapMessage> bsm = source;
    for (const auto &group : bsm->groupData()) {
      auto &list = expected[group->prefix()];
      for (const auto &rp : group->rpList()) list.push_back(rp.address);
    }
    v.sm->bsrSm().forwardBsm(zone, bsm);

    Blocks seen;
    for (const auto &[intfId, fragment, bytes] : v.port->sent) {
      ASSERT_LE(length(*fragment), mtu);
      ASSERT_LE(bytes + (a.ipv4() ? 20 : 40), a.ipv4() ? mtu : 2 * mtu) << "as the link counts it";
      ASSERT_EQ(fragment->fragmentTag(), bsm->fragmentTag());
      ASSERT_EQ(fragment->priority(), 9);
      const auto &groups = fragment->groupData();
      if (bsm->groupData().empty()) continue;
      ASSERT_FALSE(groups.empty());
      if (scoped) {
        ASSERT_EQ(groups.front()->prefix(), zone);
        ASSERT_TRUE(groups.front()->adminScope());
      }
      for (const auto &group : groups) {
        ASSERT_EQ(group->fragmentRpCount(), group->rpList().size());
        ASSERT_LE(group->fragmentRpCount(), group->rpCount());
        auto &list = seen[group->prefix()];
        for (const auto &rp : group->rpList()) list.push_back(rp.address);
      }
    }
    if (!a.ipv4()) seen.erase(a.global());  // heads fragments of the global zone
    ASSERT_EQ(seen, expected) << "mtu " << mtu << (scoped ? " scoped" : " global");
  }
}

TEST_P(Fragmentation, TwoGroupsOfOnePrefixAreNeverBothInPieces) {
  TestVrf v(a);
  v.intfIs(1, 576);
  std::vector<Bsm::Rp> others = rps(140);
  others.erase(others.begin(), others.begin() + 80);
  v.hear(Bsm(a.host(200)).group(a.group(1), rps(80)).group(a.group(1), others).bidir());
  for (const auto &sent : v.port->sent) {
    for (const auto &group : sent.bsm->groupData()) {
      if (group->fragmentRpCount() < group->rpCount()) EXPECT_NE(group->rpCount(), 60);
    }
  }
}

TEST_P(Fragmentation, ANewNeighbourGetsTheLastMessagesFromItsDrOnly) {
  TestVrf v(a);
  v.intfIs(1);
  v.intfIs(2);
  v.hear(Bsm(a.host(200)).tag(3).group(a.group(1), rps(3)));
  v.hear(Bsm(a.host(200)).tag(3).group(a.group(2), rps(3)));
  v.hear(Bsm(a.host(200)).scope(a.scope(5)));
  v.hear(Bsm(a.host(200)).scope(a.scope(6)));
  v.status->bsBorderIs(a.scope(6))->intfIdIs(v.intf(2));
  const auto pimIntf = v.pimStatus->pimIntf(v.intf(2));
  const auto triggered = [&] {
    v.port->sent.clear();
    pimIntf->triggeredHelloSentInc();
    return v.port->sent.size();
  };
  EXPECT_EQ(triggered(), 0u) << "another router is the DR";
  pimIntf->isDrIs(true);
  EXPECT_EQ(triggered(), 3u) << "both fragments and one scope: the other has its border here";
  for (const auto &sent : v.port->sent) {
    EXPECT_EQ(sent.intfId, v.intf(2));
    EXPECT_FALSE(sent.bsm->forward());
  }
  EXPECT_TRUE(v.sm->bsrIOSm().lastBsm(a.global())->forward()) << "the kept message is not changed";
  pimIntf->isDrIs(false);
  EXPECT_EQ(triggered(), 3u) << "we were the DR until now";
  EXPECT_EQ(triggered(), 0u);
}

TEST_P(Fragmentation, ASenderWithAConstantTagMakesNothingGrow) {
  TestVrf v(a);
  v.intfIs(1);
  for (int n = 0; n < 10; ++n) v.hear(Bsm(a.host(200)).tag(3).group(a.group(1), rps(2)));
  for (int n = 0; n < 10; ++n) v.hear(Bsm(a.host(200)).scope(a.scope(5)).tag(3));
  EXPECT_EQ(v.machine(a.global())->lastBsm().all().size(), 1u);
  EXPECT_EQ(v.machine(a.scope(5))->lastBsm().all().size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Families, Fragmentation, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; });

}  // namespace
}  // namespace Test
