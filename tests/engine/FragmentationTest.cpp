// Messages cut to fit an MTU, and where they are sent.

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tests/support/TestVrf.h"

namespace Test {
namespace {

// The RP count and the RPs of each group and mode.
using Groups = std::map<std::pair<Pax::IpGenPrefix, bool>, std::pair<unsigned, std::vector<Bsm::Rp>>>;

class Fragmentation : public testing::TestWithParam<Addresses> {
 protected:
  Fragmentation() : a(GetParam()) {}

  std::vector<Bsm::Rp> rps(uint32_t count) {
    std::vector<Bsm::Rp> result;
    for (uint32_t n = 1; n <= count; ++n) result.push_back({a.host(n), uint16_t(100 + n), static_cast<uint8_t>(n)});
    return result;
  }
  static uint32_t length(const Pim::Packet::BootstrapMessage &bsm) {
    uint32_t result = 36;
    for (const auto &group : bsm.groupData()) result += 12 + 12 * static_cast<uint32_t>(group->rpList().size());
    return result;
  }
  Groups groupsOf(const std::vector<FakePort::Sent> &messages) const {
    Groups groups;
    for (const auto &message : messages) {
      for (const auto &group : message.bsm->groupData()) {
        if (group->prefix() == a.global()) continue;  // heads fragments of the global zone in IPv6
        auto &[rpCount, list] = groups[{group->prefix(), group->bidir()}];
        rpCount = group->rpCount();
        list.insert(list.end(), group->rpList().begin(), group->rpList().end());
      }
    }
    return groups;
  }

  const Addresses a;
};

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

// Random messages over random MTUs: every RP of the source once and in order, no fragment over the
// MTU, the zone's block first in scoped zones, counts and modes that hold, and of the two groups of a
// prefix never both in pieces: one is left out, and counted, if it fits no fragment whole.
TEST_P(Fragmentation, EveryRpGoesOutOnceInFragmentsThatFit) {
  const uint64_t seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(static_cast<uint32_t>(seed));
  const auto pick = [&](uint32_t n) { return static_cast<uint32_t>(random() % n); };
  for (int round = 0; round < 400; ++round) {
    const uint32_t least = a.ipv4() ? 73 : 288, greatest = a.ipv4() ? 2100 : 1050;
    const bool scoped = pick(2) == 0;
    TestVrf v(a);
    Bsm source(a.host(200), 9);
    source.tag(static_cast<uint16_t>(pick(65536)));
    const Pax::IpGenPrefix zone = scoped ? a.scope(5) : a.global();
    if (scoped) source.scope(zone, rps(pick(3) == 0 ? pick(256) : 0));
    const uint32_t most = std::vector<uint32_t>{1, 4, 30, 255}[pick(4)];
    if (scoped && pick(4) == 0) source.scope(zone, rps(1 + pick(most))).bidir();
    for (uint32_t n = pick(120); n > 0; --n) {
      const Pax::IpGenPrefix prefix = scoped ? a.inScope(5, n) : a.group(n);
      const bool first = pick(2) == 0;
      const uint32_t count = 1 + pick(most), elsewhere = pick(8) == 0 ? 5 : 0;
      source.piece(prefix, static_cast<uint8_t>(std::min(count + elsewhere, 255u)), rps(count)).bidir(first);
      if (pick(3) == 0) source.group(prefix, rps(1 + pick(most))).bidir(!first);
    }
    const Kiv::Ptr<Pim::Packet::BootstrapMessage> bsm = source;
    Groups expected = groupsOf({{v.intf(1), bsm, 0}});
    const uint32_t whole = v.sm->bsrSm().doComputeBsmLength(*bsm);
    const uint32_t mtu = pick(8) ? least + pick(greatest - least + 1) : std::clamp(whole - pick(2), least, greatest);
    SCOPED_TRACE("mtu " + std::to_string(mtu) + (scoped ? " scoped" : " global"));
    v.intfIs(1, mtu);
    v.sm->bsrSm().forwardBsm(zone, bsm);
    v.advance(30);  // what is not in the first burst
    if (whole <= mtu) ASSERT_EQ(v.port->sent.size(), 1u);

    std::map<Pax::IpGenPrefix, std::set<bool>> inPieces;
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
        if (group->isPiece()) inPieces[group->prefix()].insert(group->bidir());
      }
    }
    for (const auto &[prefix, modes] : inPieces) ASSERT_EQ(modes.size(), 1u) << prefix;
    const auto seen = groupsOf(v.port->sent);
    const auto leftOut = std::erase_if(expected, [&](const auto &group) {
      const uint32_t head = group.first.first != zone && (scoped || !a.ipv4()) ? 12 : 0;
      return !seen.contains(group.first) && 36 + head + 12 + 12 * group.second.first > mtu;
    });
    ASSERT_EQ(seen, expected);
    ASSERT_EQ(v.counters().txError(), leftOut);
    ASSERT_EQ(v.counters().tx(), v.port->sent.size() + leftOut);
  }
}

TEST_P(Fragmentation, ANewNeighborGetsTheLastMessagesFromItsDrOnly) {
  TestVrf v(a);
  v.intfIs(1);
  v.intfIs(2, 150);
  for (int n = 0; n < 3; ++n) {  // a sender with a constant tag makes nothing grow
    v.hear(Bsm(a.host(200)).tag(3).group(a.group(1), rps(9)));
    v.hear(Bsm(a.host(200)).tag(3).group(a.group(1), rps(8)).bidir());
    v.hear(Bsm(a.host(200)).tag(3).scope(a.scope(6)));
  }
  EXPECT_EQ(v.machine(a.scope(6))->lastBsm().all().size(), 1u);
  v.hear(Bsm(a.host(200)).scope(a.scope(5)).group(a.inScope(5, 1), rps(20)));
  v.status->bsBorderIs(a.scope(6))->intfIdIs(v.intf(2));
  v.advance(16);  // no newcomer any more
  const auto pimIntf = v.pimStatus->pimIntf(v.intf(2));
  const auto triggered = [&] {
    v.port->sent.clear();
    pimIntf->triggeredHelloSentInc();
    for (const auto &sent : v.port->sent) EXPECT_TRUE(sent.intfId == v.intf(2) && !sent.bsm->forward());
    return groupsOf(v.port->sent);
  };
  const Groups nothing, all{{{a.group(1), false}, {9, rps(9)}},
                            {{a.group(1), true}, {8, rps(8)}},
                            {{a.scope(5), false}, {}},
                            {{a.inScope(5, 1), false}, {20, rps(20)}}};
  EXPECT_EQ(triggered(), nothing) << "another router is the DR";
  pimIntf->isDrIs(true);
  EXPECT_EQ(triggered(), all) << "both modes and one scope: the other has its border here";
  EXPECT_TRUE(v.sm->bsrIOSm().lastBsm(a.global())->forward()) << "the kept message is not changed";
  pimIntf->isDrIs(false);
  EXPECT_EQ(triggered(), all) << "we were the DR until now";
  EXPECT_EQ(triggered(), nothing);
  pimIntf->neighbor(v.neighbor(2))->upTimeIs(v.time.now());
  EXPECT_EQ(triggered(), all) << "the DR has just restarted";
  const auto candidate = v.candidateIs(a.global(), 1, 255);
  EXPECT_EQ(triggered(), all) << "what was heard before the candidacy";
  v.advance(20);
  EXPECT_TRUE(candidate->elected());
  candidate->hashMaskLenIs(Bsr::hashMaskLenUnset);
  pimIntf->isDrIs(true);
  EXPECT_FALSE(triggered().contains({a.group(1), true})) << "our own election is over";
}

// A list of 50,000 RPs goes out whole and in order, in a burst that the receive buffer of a neighbor takes and then
// at a rate that it keeps up with; what else is sent meanwhile does not wait.
TEST_P(Fragmentation, WhatListsManyRpsGoesOutAtARateThatReceiversKeepUpWith) {
  TestVrf v(a);
  v.intfIs(1, a.ipv4() ? 1500 : 750);
  v.intfIs(2, a.ipv4() ? 1500 : 750);
  Bsm source(a.host(200));
  for (uint32_t n = 0; n < 250; ++n) source.group(a.group(n), rps(200));
  const Kiv::Ptr<Pim::Packet::BootstrapMessage> bsm = source;
  const auto &sent = v.port->sent;
  const auto sentOn = [&](uint32_t n) {
    std::vector<FakePort::Sent> result;
    std::ranges::copy_if(sent, std::back_inserter(result), [&](const auto &each) { return each.intfId == v.intf(n); });
    return result;
  };
  v.sm->bsrSm().forwardBsm(a.global(), bsm);
  EXPECT_EQ(sent.size(), 2u * 128) << "at once";
  v.sm->bsrSm().forwardBsm(a.scope(5), Bsm(a.host(200)).scope(a.scope(5), rps(1)));
  EXPECT_EQ(sent.size(), 2u * 129) << "another zone does not wait";
  for (size_t before = sent.size(); v.time.now() < 1010; before = sent.size()) {
    v.advance(0.01);
    ASSERT_LE(sent.size() - before, 2u * 11);
  }
  for (const uint32_t n : {1u, 2u}) {
    auto messages = sentOn(n);
    messages.erase(messages.begin() + 128);
    EXPECT_EQ(groupsOf(messages), groupsOf({{v.intf(n), bsm, 0}}));
    EXPECT_TRUE(
        std::ranges::is_sorted(messages, {}, [](const auto &each) { return each.bsm->groupData().back()->prefix(); }));
  }
}

TEST_P(Fragmentation, WhatWaitsGoesWithANewerMessageTheInterfaceOrItsLastNeighbor) {
  size_t lastRps = 0;  // of the message that went out last
  const auto restOf = [&](const auto &happens) {
    TestVrf v(a);
    v.intfIs(1, 150);
    Bsm source(a.host(200));
    for (uint32_t n = 0; n < 100; ++n) source.group(a.group(n), rps(20));
    v.sm->bsrSm().forwardBsm(a.global(), source);
    v.port->sent.clear();
    happens(v);
    v.advance(5);
    if (!v.port->sent.empty()) lastRps = v.port->sent.back().bsm->groupData().back()->rpList().size();
    return v.port->sent.size();
  };
  const auto forward = [&](TestVrf &v, uint16_t tag) {
    v.sm->bsrSm().forwardBsm(a.global(), Bsm(a.host(200)).tag(tag).group(a.group(1), rps(1)));
  };
  const size_t all = restOf([](TestVrf &) {});
  EXPECT_GT(all, 100u);
  EXPECT_GT(lastRps, 1u);
  EXPECT_EQ(restOf([&](TestVrf &v) { forward(v, 0); }), all + 1);
  EXPECT_EQ(lastRps, 1u) << "a fragment of the same message goes behind";
  EXPECT_EQ(restOf([&](TestVrf &v) { forward(v, 1); }), 1u);
  EXPECT_EQ(restOf([](TestVrf &v) { v.pimStatus->pimIntf(v.intf(1))->neighborDel(v.neighbor(1)); }), 0u);
  EXPECT_EQ(restOf([](TestVrf &v) {
              v.pimStatus->pimIntfDel(v.intf(1));
              v.intfIs(1);
            }),
            0u);
  EXPECT_EQ(restOf([&](TestVrf &v) { v.status->bsBorderIs(a.global())->intfIdIs(v.intf(1)); }), 0u);
}

TEST_P(Fragmentation, NewNeighborsShareWhatStillWaitsForThem) {
  TestVrf v(a);
  v.intfIs(1);
  for (uint32_t n = 0; n < 200; ++n) v.hear(Bsm(a.host(200)).tag(3).group(a.group(n), rps(1)));
  v.pimStatus->pimIntf(v.intf(1))->isDrIs(true);
  v.port->sent.clear();
  const auto trigger = [&] { v.pimStatus->pimIntf(v.intf(1))->triggeredHelloSentInc(); };
  trigger();
  EXPECT_EQ(v.port->sent.size(), 128u);
  trigger();
  v.advance(1);
  EXPECT_EQ(v.port->sent.size(), 128u + 200) << "the rest, then what the second has missed";
  for (const auto &group : groupsOf(v.port->sent)) EXPECT_LE(group.second.second.size(), 2u);
  EXPECT_EQ(groupsOf(v.port->sent).size(), 200u);
}

FOR_BOTH_FAMILIES(Fragmentation);

}  // namespace
}  // namespace Test
