// Groups whose RPs arrive split over several fragments.

#include <gtest/gtest.h>

#include <random>

#include "tests/support/TestVrf.h"

namespace Test {
namespace {

struct Reassembly : testing::TestWithParam<Addresses> {
  Reassembly() : v(GetParam()), prefix(v.a.group(1)) { v.intfIs(1); }

  std::vector<Bsm::Rp> rps(uint32_t first, uint32_t last) {
    std::vector<Bsm::Rp> result;
    for (uint32_t n = first; n <= last; ++n) result.push_back({v.a.host(n), 150, 0});
    return result;
  }
  void hearPiece(uint16_t tag, uint8_t total, uint32_t first, uint32_t last) {
    v.hear(Bsm(v.a.host(1)).tag(tag).piece(prefix, total, rps(first, last)));
  }
  size_t stored() { return v.rps(v.a.global(), prefix).value_or(std::vector<Pax::IpGenAddr>()).size(); }
  bool isOpen(uint16_t tag) { return bool(v.sm->bsrSm().bsmRxFragments(tag)); }

  TestVrf v;
  const Pax::IpGenPrefix prefix;
};

TEST_P(Reassembly, StoresAGroupWhenItsLastPieceArrivesInWhateverOrder) {
  hearPiece(7, 5, 13, 15);
  hearPiece(7, 5, 13, 15);
  EXPECT_EQ(stored(), 0u) << "a repeated piece adds nothing";
  hearPiece(7, 5, 11, 12);
  EXPECT_EQ(stored(), 5u);
  EXPECT_FALSE(isOpen(7));
}

TEST_P(Reassembly, ABlockWithNoneOrAllOfItsRpsIsNotCollected) {
  v.hear(Bsm(v.a.host(1)).tag(7).piece(prefix, 3, {}).group(v.a.group(2), rps(11, 13)));
  EXPECT_FALSE(isOpen(7));
  EXPECT_EQ(v.rps(v.a.global(), v.a.group(2))->size(), 3u);
}

TEST_P(Reassembly, AnIncompleteGroupGoesAtTheFirstRunPastItsAge) {
  hearPiece(7, 5, 11, 13);
  v.advance(4);
  v.hear(Bsm(v.a.host(1)).tag(8).scope(v.a.scope(5)).piece(v.a.inScope(5, 1), 4, rps(11, 12)));
  v.advance(2);
  hearPiece(7, 5, 11, 13);  // once more: it grows no younger
  v.advance(23.9);
  EXPECT_TRUE(isOpen(7)) << "runs at 10 and 20 found it too young";
  v.advance(0.2);
  EXPECT_FALSE(isOpen(7));
  EXPECT_FALSE(isOpen(8)) << "26 s old at the same run";
  EXPECT_EQ(v.set(v.a.global(), prefix), nullptr);
}

TEST_P(Reassembly, AnotherTagOfTheSameBsrEndsTheCollectionOfTheLastMessage) {
  hearPiece(7, 5, 11, 13);
  hearPiece(8, 5, 11, 13);
  EXPECT_FALSE(isOpen(7));
  v.candidateIs(v.a.global(), 2, 0);
  hearPiece(9, 5, 11, 13);
  EXPECT_FALSE(isOpen(8)) << "also where we have become a candidate";
  hearPiece(9, 5, 14, 15);
  EXPECT_EQ(stored(), 5u);
}

// What a neighbor may send of one group, and how many of its messages are dropped before anybody sees them.
TEST_P(Reassembly, AContradictionIsDroppedBeforeAnythingOfItIsTaken) {
  const Pax::IpGenPrefix other = v.a.group(2);
  const auto bsm = [&] { return Bsm(v.a.host(1)).tag(7); };
  const struct {
    const char *what;
    Bsm first, second;
    uint32_t dropped;
  } cases[] = {
      {"other RPs", bsm().piece(prefix, 3, rps(11, 12)), bsm().piece(prefix, 3, rps(13, 14)), 1},
      {"another count", bsm().piece(prefix, 3, rps(11, 12)), bsm().piece(prefix, 4, rps(13, 13)), 1},
      {"the same again", bsm().piece(prefix, 3, rps(11, 12)), bsm().piece(prefix, 3, rps(11, 12)), 0},
      {"the rest", bsm().piece(prefix, 3, rps(11, 12)), bsm().piece(prefix, 3, rps(12, 13)), 0},
      {"behind a good block", bsm().piece(prefix, 3, rps(11, 12)),
       bsm().group(other, rps(15, 15)).piece(prefix, 3, rps(13, 14)), 1},
      {"whole after a piece", bsm().piece(prefix, 3, rps(11, 12)), bsm().group(prefix, rps(21, 24)), 0},
      {"another tag", bsm().piece(prefix, 3, rps(11, 12)), bsm().tag(8).piece(prefix, 4, rps(13, 14)), 0},
      {"another BSR", bsm().piece(prefix, 3, rps(11, 12)), Bsm(v.a.host(2)).tag(7).piece(prefix, 4, rps(13, 14)), 0},
      {"another zone", bsm().piece(prefix, 3, rps(11, 12)), bsm().scope(v.a.scope(5)).piece(prefix, 4, rps(13, 14)), 0},
  };
  for (const auto &c : cases) {
    TestVrf vrf(v.a);
    for (uint32_t n : {1, 2}) vrf.intfIs(n);
    vrf.hear(c.first);
    const size_t sent = vrf.sent();
    const auto heard = vrf.counters().rxBsm();
    const Tracelet::CaptureSink traces(1);
    vrf.hear(c.second);
    EXPECT_EQ(vrf.port->counters().contradictingFragments, c.dropped) << c.what;
    EXPECT_EQ(traces.count("contradicts earlier fragments of tag 7"), c.dropped) << c.what;
    EXPECT_EQ(vrf.sent() == sent, c.dropped == 1) << c.what << ": not flooded";
    EXPECT_EQ(vrf.counters().rxBsm() == heard, c.dropped == 1) << c.what;
    EXPECT_EQ(vrf.set(v.a.global(), other) != nullptr, false) << c.what;
  }
}

TEST_P(Reassembly, AReusedTagIsHeardAgainOnceTheLostMessageIsForgotten) {
  hearPiece(7, 5, 11, 13);
  hearPiece(7, 4, 21, 22);
  EXPECT_EQ(v.port->counters().contradictingFragments, 1u);
  v.advance(31);
  hearPiece(7, 4, 21, 22);
  hearPiece(7, 4, 23, 24);
  EXPECT_EQ(stored(), 4u);
  EXPECT_EQ(v.port->counters().contradictingFragments, 1u);
}

// Anybody may overhear a tag: what another zone or another BSR says under it neither joins nor ends our collection.
TEST_P(Reassembly, AnOverheardTagDoesNotMix) {
  hearPiece(7, 5, 11, 13);
  const auto stranger = [&](uint16_t tag) { return Bsm(v.a.host(2)).tag(tag).scope(v.a.scope(5)); };
  v.hear(stranger(7).piece(prefix, 5, rps(21, 22)));
  v.hear(stranger(8).piece(prefix, 5, rps(21, 22)));
  hearPiece(7, 5, 14, 15);
  EXPECT_EQ(stored(), 5u);
  EXPECT_EQ(v.set(v.a.scope(5), prefix), nullptr);
}

TEST_P(Reassembly, WhatIsOpenTakesLimitedMemory) {
  Bsr::Limits limits;
  limits.openBytes = 65536;
  v.config->limitsIs(limits);
  const auto open = [&](uint32_t n) { v.hear(Bsm(v.a.host(1)).tag(7).piece(v.a.inScope(1, n), 200, rps(11, 12))); };
  for (uint32_t n = 1; n < 20; ++n) open(n);
  const uint32_t refused = v.port->counters().fragmentsOverLimit;
  EXPECT_GT(refused, 0u);
  EXPECT_LT(refused, 19u);
  v.hear(Bsm(v.a.host(1)).tag(7).piece(v.a.inScope(1, 1), 200, rps(13, 200)));
  EXPECT_EQ(v.port->counters().fragmentsOverLimit, refused) << "what is open goes on";
  v.hear(Bsm(v.a.host(1)).tag(7).group(prefix, rps(11, 15)));
  EXPECT_EQ(stored(), 5u) << "whole groups need no room";
  v.advance(36);
  open(30);
  EXPECT_EQ(v.port->counters().fragmentsOverLimit, refused) << "there is room again";
}

// Messages are kept for 25 seconds, but groups in pieces may be given up a little sooner: then what was kept
// contradicts a group that has been begun anew.
TEST_P(Reassembly, ARefreshSkipsWhatContradictsAGroupThatIsOpen) {
  v.hear(Bsm(v.a.host(2)).tag(8).scope(v.a.scope(5)).piece(v.a.inScope(5, 1), 4, rps(11, 12)));
  v.advance(5.4);
  hearPiece(7, 4, 11, 12);
  v.advance(24.7);
  EXPECT_FALSE(isOpen(7)) << "at 24.6";
  v.hear(Bsm(v.a.host(1)).tag(7).piece(prefix, 4, rps(13, 13)).group(v.a.group(2), rps(11, 11)));
  v.hear(Bsm(v.a.host(1)).tag(7).group(v.a.group(2), rps(11, 11)));  // keeps the message before from being kept
  hearPiece(7, 4, 14, 15);
  v.config->holdTimeIs(1);
  v.advance(2);
  EXPECT_EQ(v.bsr(v.a.global()), nullptr) << "lost, and its RPs refreshed";
  EXPECT_TRUE(isOpen(7));
  EXPECT_EQ(v.rps(v.a.global(), v.a.group(2))->size(), 1u);
}

// Pieces of one prefix at random, with few tags, counts and RPs, so that they often meet those of a message before.
TEST_P(Reassembly, NothingThatIsHeardIsFatal) {
  for (uint32_t seed = 1; seed <= 40; ++seed) {
    TestVrf vrf(v.a, seed);
    std::mt19937 random(seed);
    const auto upTo = [&](uint32_t count) { return static_cast<uint32_t>(random() % count); };
    vrf.intfIs(1);
    for (int step = 0; step < 600; ++step) {
      Bsm bsm(v.a.host(1 + upTo(2)), static_cast<uint8_t>(60 + upTo(3)));
      bsm.tag(static_cast<uint16_t>(7 + upTo(2)));
      if (upTo(3) == 0) bsm.scope(v.a.scope(5));
      for (uint32_t block = 0; block <= upTo(3); ++block) {
        std::vector<Bsm::Rp> list;
        for (uint32_t n = 0, count = 1 + upTo(3); n < count; ++n) {
          list.push_back({v.a.host(11 + upTo(5)), static_cast<uint16_t>(upTo(200)), 0});
        }
        const auto announced = static_cast<uint8_t>(list.size() + upTo(3));
        bsm.piece(v.a.group(1 + upTo(2)), announced, list).bidir(upTo(8) == 0);
      }
      vrf.hear(bsm);
      if (upTo(30) == 0) vrf.candidateIs(v.a.global(), 3, upTo(2) ? 0 : 255);
      if (upTo(30) == 0) vrf.candidateDel(v.a.global());
      if (upTo(20) == 0) vrf.config->holdTimeIs(upTo(2) ? 3 : 130);  // refreshes in the midst of a message
      if (upTo(3) == 0) vrf.advance(upTo(20) == 0 ? 130 : upTo(80) / 10.0);
      if (upTo(200) == 0) vrf.stop(), vrf.start();
    }
    EXPECT_GT(vrf.port->counters().contradictingFragments, 0u);
  }
}

TEST_P(Reassembly, MoreRpsThanAnnouncedIsFatalWhereThatIsAsked) {
  v.config->mixedFragmentsIs(Bsr::MixedFragments::stop);
  hearPiece(7, 5, 11, 13);
  EXPECT_DEATH(hearPiece(7, 5, 21, 23), "fragment->rpCount\\(\\) == fragment->rps\\(\\)");
}

FOR_BOTH_FAMILIES(Reassembly);

}  // namespace
}  // namespace Test
