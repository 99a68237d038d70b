// The RP sets of the zones, their hold times, and the set that is published from them.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/support/TestVrf.h"

namespace Test {
namespace {

class RpSet : public testing::TestWithParam<Addresses> {
 protected:
  RpSet() : v(GetParam()) { v.intfIs(1); }
  void advance(double seconds) { v.time.advanceTo(v.time.now() + seconds); }

  TestVrf v;
};

/// The zones with a BSR, and what stands published of a dead zone that alone has a set for the prefix.
struct Before {
  struct LeftOver {
    Pax::IpGenPrefix zone;
    std::vector<Pax::IpGenAddr> rps;
  };
  std::vector<bool> alive;
  std::map<Pax::IpGenPrefix, LeftOver> leftOver;
};

Before lookAt(const TestVrf &v, const std::vector<Pax::IpGenPrefix> &zones) {
  Before before;
  for (const auto &zone : zones) before.alive.push_back(bool(v.bsr(zone)));
  for (const auto &prefix : v.published->crpSet().keys()) {
    std::vector<Pax::IpGenPrefix> holders;
    for (const auto &zone : zones) {
      if (v.set(zone, prefix)) holders.push_back(zone);
    }
    if (holders.size() == 1 && !v.bsr(holders[0])) before.leftOver[prefix] = {holders[0], *v.publishedRps(prefix)};
  }
  return before;
}

/// As long as no BSR comes or goes and no set takes over, left-over RPs go by their hold times only.
void expectLeftOversServe(const TestVrf &v, const std::vector<Pax::IpGenPrefix> &zones, const Before &before) {
  if (lookAt(v, zones).alive != before.alive) return;
  for (const auto &[prefix, leftOver] : before.leftOver) {
    int holders = 0;
    for (const auto &zone : zones) holders += v.set(zone, prefix) ? 1 : 0;
    const auto set = v.set(leftOver.zone, prefix);
    if (!set || holders != 1) continue;
    for (const auto &rp : leftOver.rps) {
      const auto published = v.published->crpSet(prefix);
      if (set->rp(rp)) ASSERT_TRUE(published && published->rp(rp)) << prefix << " " << rp;
    }
  }
}

/// What has to be published for a prefix, from the rule alone.
void expectPublicationHolds(const TestVrf &v, const std::vector<Pax::IpGenPrefix> &zones,
                            const std::vector<Pax::IpGenPrefix> &prefixes) {
  for (const auto &prefix : prefixes) {
    Pax::IpGenPrefix owner;
    for (const auto &zone : zones) {
      if (v.bsr(zone) && zone.covers(prefix) && (owner.isEmpty() || owner.length() < zone.length())) owner = zone;
    }
    const auto published = v.published->crpSet(prefix);
    const auto own = owner.isEmpty() ? nullptr : v.set(owner, prefix);
    if (own) {
      ASSERT_TRUE(published) << prefix;
      ASSERT_EQ(v.publishedRps(prefix), v.rps(owner, prefix)) << prefix;
      for (const auto &[address, rp] : own->rp()) {
        const auto twin = published->rp(address);
        ASSERT_EQ(twin->expires(), rp->expires());
        ASSERT_EQ(twin->priority(), rp->priority());
        ASSERT_EQ(twin->holdTime(), rp->holdTime());
        ASSERT_EQ(twin->pimMode(), rp->pimMode());
        ASSERT_EQ(twin->hashMaskLen(), rp->hashMaskLen());
        ASSERT_EQ(twin->setupTime(), rp->setupTime());
      }
    } else if (published) {
      // Only a zone without BSR may still stand there, with RPs that it still holds.
      bool explained = false;
      for (const auto &zone : zones) {
        const auto left = v.bsr(zone) || !zone.covers(prefix) ? nullptr : v.set(zone, prefix);
        explained |= left && !published->rp().empty() &&
                     std::ranges::all_of(published->rp().keys(), [&](const auto &rp) { return bool(left->rp(rp)); });
      }
      ASSERT_TRUE(explained) << prefix;
    }
  }
}

TEST_P(RpSet, ThePublishedSetNeverGoesStale) {
  const uint64_t seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(static_cast<uint32_t>(seed));
  const auto pick = [&](uint32_t n) { return static_cast<uint32_t>(random() % n); };
  const std::vector zones{v.a.global(), v.a.scope(5), v.a.inScope(5, 1)};
  std::vector prefixes{v.a.group(1), v.a.inScope(5, 2)};
  prefixes.insert(prefixes.end(), zones.begin(), zones.end());
  for (int step = 0; step < 1500; ++step) {
    const Before before = lookAt(v, zones);
    switch (pick(5)) {
      case 0: advance(1 + pick(60)); break;
      case 1: advance(1 + pick(400)); break;
      case 2:
        if (pick(20) == 0) {
          v.stop();
          v.start();
        }
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
            if (pick(2) != 0) continue;
            rps.push_back({v.a.host(n), static_cast<uint16_t>(pick(4) * 90), static_cast<uint8_t>(pick(3))});
          }
          message.group(prefix, rps);
        }
        v.hear(message);
      }
    }
    expectPublicationHolds(v, zones, prefixes);
    expectLeftOversServe(v, zones, before);
    if (HasFatalFailure()) FAIL() << "step " << step;
  }
  advance(200000);
  EXPECT_TRUE(v.published->crpSet().empty());
  EXPECT_TRUE(v.status->crpStatus().empty());
}

INSTANTIATE_TEST_SUITE_P(Families, RpSet, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; });

}  // namespace
}  // namespace Test
