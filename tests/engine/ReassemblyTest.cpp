// Groups whose RPs arrive split over several fragments.

#include <gtest/gtest.h>

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

TEST_P(Reassembly, MoreRpsThanAnnouncedIsFatal) {
  hearPiece(7, 5, 11, 13);
  EXPECT_DEATH(hearPiece(7, 5, 21, 23), "fragment->rpCount\\(\\) == fragment->rps\\(\\)");
}

FOR_BOTH_FAMILIES(Reassembly);

}  // namespace
}  // namespace Test
