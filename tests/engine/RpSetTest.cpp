// The RP sets of the zones, their hold times, and the set that is published from them.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/support/EntityLines.h"
#include "tests/support/TestVrf.h"

namespace Test {
namespace {

struct RpSet : testing::TestWithParam<Addresses> {
  RpSet() : v(GetParam()) { v.intfIs(1); }

  // What has to be published for a prefix, from the rule alone.
  void expectPublicationHolds() const {
    for (const auto &prefix : prefixes) {
      Pax::IpGenPrefix owner;
      for (const auto &zone : zones) {
        if (v.bsr(zone) && zone.covers(prefix) && owner.length() < zone.length()) owner = zone;
      }
      const auto published = v.published->crpSet(prefix);
      if (const auto own = v.set(owner, prefix)) {
        ASSERT_TRUE(published) << prefix;
        ASSERT_EQ(linesOf(*published), linesOf(*own)) << prefix;
      } else if (published) {
        // Only a zone without BSR may still stand there, with RPs that it still holds.
        ASSERT_TRUE(std::ranges::any_of(zones, [&](const auto &zone) {
          const auto left = v.bsr(zone) || !zone.covers(prefix) ? nullptr : v.set(zone, prefix);
          return left && !published->rp().empty() &&
                 std::ranges::all_of(published->rp().keys(), [&](const auto &rp) { return bool(left->rp(rp)); });
        })) << prefix;
      }
    }
  }

  TestVrf v;
  const std::vector<Pax::IpGenPrefix> zones{v.a.global(), v.a.scope(5), v.a.inScope(5, 1)};
  const std::vector<Pax::IpGenPrefix> prefixes{v.a.group(1), v.a.inScope(5, 2), zones[0], zones[1], zones[2]};
};

TEST_P(RpSet, ThePublishedSetNeverGoesStale) {
  const uint64_t seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(static_cast<uint32_t>(seed));
  const auto pick = [&](uint32_t n) { return static_cast<uint32_t>(random() % n); };
  for (int step = 0; step < 1500; ++step) {
    switch (pick(5)) {
      case 0: v.advance(1 + pick(60)); break;
      case 1: v.advance(1 + pick(400)); break;
      case 2:
        if (pick(20) == 0) v.stop(), v.start();
        break;
      default: {
        const uint32_t zone = pick(3);
        Bsm message(v.a.host(1 + pick(3)), static_cast<uint8_t>(pick(3)));
        if (zone > 0) message.scope(zones[zone]);
        // No prefix and no RP twice: a message that takes back what it gives lets a set come and go.
        for (const auto &prefix : prefixes) {
          if (pick(3) != 0) continue;
          std::vector<Bsm::Rp> rps;
          for (uint32_t n = 20; n < 25; ++n) {
            if (pick(2) == 0)
              rps.push_back({v.a.host(n), static_cast<uint16_t>(pick(4) * 90), static_cast<uint8_t>(pick(3))});
          }
          message.group(prefix, rps);
        }
        v.hear(message);
      }
    }
    expectPublicationHolds();
    if (HasFatalFailure()) FAIL() << "step " << step;
  }
  v.advance(200000);
  EXPECT_TRUE(v.published->crpSet().empty());
  EXPECT_TRUE(v.status->crpStatus().empty());
}

TEST_P(RpSet, WithItsLastRpASetGoesAtTheBsrToo) {
  v.candidateIs(v.a.global(), 1, 5);
  v.advance(30);
  v.hearCrp(7, v.a.host(1), {{v.a.group(1)}});
  EXPECT_EQ(v.publishedRps(v.a.group(1)), std::vector{v.a.host(7)});
  v.hearCrp(7, v.a.host(1), {{v.a.group(1), false, true}}, 0);  // withdrawn in the other mode
  EXPECT_FALSE(v.rps(v.a.global(), v.a.group(1)) || v.publishedRps(v.a.group(1)));
}

FOR_BOTH_FAMILIES(RpSet);

}  // namespace
}  // namespace Test
