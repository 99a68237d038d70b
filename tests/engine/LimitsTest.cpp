// What is held of other routers' making, at most.

#include <gtest/gtest.h>

#include <random>

#include "platform/routing/TrieGen.h"
#include "tests/support/Counts.h"
#include "tests/support/TestVrf.h"

namespace Test {
namespace {

struct Limits : testing::TestWithParam<Addresses> {
  Limits() : v(GetParam()), a(v.a) {
    for (uint32_t n : {1, 2}) v.intfIs(n);
  }

  void limit(uint32_t Bsr::Limits::*limit, uint32_t most) {
    Bsr::Limits limits = v.config->limits();
    limits.*limit = most;
    v.config->limitsIs(limits);
  }
  std::vector<Bsm::Rp> rps(uint32_t first, uint32_t last, uint16_t holdTime = 150) const {
    std::vector<Bsm::Rp> result;
    for (uint32_t n = first; n <= last; ++n) result.push_back({a.host(n), holdTime, 0});
    return result;
  }
  size_t held(const Pax::IpGenPrefix &zone) const {
    const auto sets = rpSetsOf(*v.status, zone);
    size_t count = 0;
    if (sets) {
      for (const auto &[prefix, set] : sets->crpSet()) count += set->rp().size();
    }
    return count;
  }
  /// What a call refused, by limit.
  template <class Call>
  Counts refused(const Call &call) {
    const auto now = [&] {
      std::stringstream fields;
      fields << v.counters().limitCounters();
      Counts counts;
      for (std::string name, number; std::getline(fields, name, '=') && fields >> number; fields >> std::ws) {
        counts[name] = std::stoll(number);
      }
      return counts;
    };
    const Counts before = now();
    call();
    return grown(before, now());
  }
  Counts hear(const Bsm &bsm) {
    return refused([&] { v.hear(bsm); });
  }

  TestVrf v;
  const Addresses a;
};

TEST_P(Limits, LearnedRpsAreRefreshedAndAgeWhileNewOnesWaitForRoom) {
  limit(&Bsr::Limits::rps, 10);
  const Bsm real = Bsm(a.host(1)).group(a.group(1), rps(11, 16)), more = Bsm(a.host(1)).group(a.group(2), rps(21, 28));
  EXPECT_EQ(hear(real), Counts());
  const Tracelet::CaptureSink traces(1);
  EXPECT_EQ(hear(more), (Counts{{"rps", 4}}));
  EXPECT_EQ(hear(Bsm(a.host(1)).group(a.group(3), rps(31, 32))), (Counts{{"rps", 1}})) << "not even an empty set";
  EXPECT_EQ(v.set(a.global(), a.group(3)), nullptr);
  EXPECT_EQ(traces.count("No more RPs than the limit of 10 are held"), 1u);
  v.advance(100);
  EXPECT_EQ(hear(real), Counts());
  EXPECT_EQ(hear(Bsm(a.host(1)).group(a.group(3), rps(31, 32))), (Counts{{"rps", 1}}));
  EXPECT_EQ(traces.count("No more RPs than the limit of 10 are held"), 2u) << "once a minute";
  v.advance(60);
  EXPECT_EQ(held(a.global()), 6u) << "what was refreshed";
  EXPECT_EQ(hear(more), (Counts{{"rps", 4}})) << "there is room again, for four";
  limit(&Bsr::Limits::rps, 2);
  EXPECT_EQ(hear(more), (Counts{{"rps", 4}})) << "a lower limit takes nothing away";
  EXPECT_EQ(held(a.global()), 10u);
  v.status->crpIs(a.host(40))->prefixSetIs(a.group(4));
  EXPECT_EQ(hear(Bsm(a.host(1)).group(a.group(4), rps(39, 41))), (Counts{{"rps", 2}})) << "our own fits";
  EXPECT_EQ(v.rps(a.global(), a.group(4)), std::vector{a.host(40)});
  EXPECT_EQ(hear(Bsm(a.host(1)).piece(a.group(5), 3, rps(51, 52))), Counts());
  EXPECT_EQ(hear(Bsm(a.host(1)).piece(a.group(5), 3, rps(53, 53))), (Counts{{"rps", 1}}));
  EXPECT_EQ(v.sm->bsrSm().bsmRxFragments(0), nullptr) << "refused, and done with";
}

TEST_P(Limits, RangesAreCountedAcrossZonesButForTheZonesOwn) {
  limit(&Bsr::Limits::ranges, 2);
  EXPECT_EQ(hear(Bsm(a.host(1)).group(a.group(1), rps(11, 11))), Counts());
  EXPECT_EQ(hear(Bsm(a.host(2)).scope(a.scope(5), rps(11, 11)).group(a.inScope(5, 1), rps(11, 12))), Counts());
  EXPECT_EQ(hear(Bsm(a.host(2)).scope(a.scope(6)).group(a.inScope(6, 1), rps(11, 11))), (Counts{{"ranges", 1}}));
  EXPECT_EQ(hear(Bsm(a.host(1)).group(a.group(1), rps(12, 15))), Counts()) << "what is there may grow";
  EXPECT_EQ(hear(Bsm(a.host(2)).scope(a.scope(5)).group(a.inScope(5, 1), rps(11, 12, 0))), Counts());
  EXPECT_EQ(hear(Bsm(a.host(2)).scope(a.scope(6)).group(a.inScope(6, 1), rps(11, 11))), Counts()) << "room again";
}

TEST_P(Limits, AZoneBeyondTheLimitLeavesNothingBehind) {
  limit(&Bsr::Limits::zones, 2);
  const auto bsm = [&](uint32_t zone) {
    return Bsm(a.host(2)).scope(a.scope(zone)).group(a.inScope(zone, 1), rps(11, 11));
  };
  v.hear(Bsm(a.host(1)).group(a.group(1), rps(11, 11)));
  for (uint32_t zone : {5, 6}) EXPECT_EQ(hear(bsm(zone)), Counts());
  const size_t sent = v.sent();
  EXPECT_EQ(hear(bsm(7)), (Counts{{"zones", 1}}));
  EXPECT_EQ(v.sent(), sent) << "not flooded";
  EXPECT_EQ(v.machine(a.scope(7)), nullptr);
  EXPECT_EQ(v.bsr(a.scope(7)), nullptr);
  EXPECT_EQ(v.status->crpStatus(a.scope(7)), nullptr);
  EXPECT_FALSE(v.sm->bsrSm().bsrTrie()->route(a.scope(7)));
  EXPECT_EQ(v.sm->bsrIOSm().lastBsm(a.scope(7)), nullptr);
  EXPECT_EQ(hear(Bsm(a.host(1)).group(a.group(1), rps(11, 11))), Counts()) << "the global zone always fits";
  v.status->bsBorderIs(a.scope(7))->intfIdIs(v.intf(2));
  EXPECT_EQ(hear(bsm(7)), Counts()) << "and so does one that the configuration names";
  v.candidateIs(a.scope(8), 3, 64);
  EXPECT_EQ(hear(bsm(8)), Counts());
  v.advance(1440);  // all are forgotten
  EXPECT_EQ(hear(bsm(9)), Counts());
}

TEST_P(Limits, MessagesOfZonesThatComeAndGoAreNotAllRemembered) {
  limit(&Bsr::Limits::zones, 3);
  for (uint32_t round = 0; round < 4; ++round) {
    for (uint32_t n = 1; n <= 3; ++n) v.hear(Bsm(a.host(2)).scope(a.inScope(5, 10 * round + n)));
    v.advance(1440);
  }
  size_t remembered = 0;
  for (uint32_t n = 0; n < 40; ++n) remembered += v.sm->bsrIOSm().lastBsm(a.inScope(5, n)) != nullptr;
  EXPECT_EQ(remembered, 3u);
}

TEST_P(Limits, TheBsrCollectsSoManyPairsAndSoManyRangesOfOneRp) {
  limit(&Bsr::Limits::collectedRps, 6);
  limit(&Bsr::Limits::rangesPerRp, 3);
  v.candidateIs(a.global(), 50, 64);
  v.advance(11);
  const auto hearCrp = [&](uint32_t rp, uint32_t range, uint16_t holdTime = 180) {
    return refused([&] { v.hearCrp(rp, a.host(50), {{a.group(range)}}, holdTime); });
  };
  for (uint32_t range : {1, 2, 3}) EXPECT_EQ(hearCrp(11, range), Counts());
  EXPECT_EQ(hearCrp(11, 4), (Counts{{"rangesPerRp", 1}}));
  EXPECT_EQ(hearCrp(11, 3), Counts()) << "what is known is refreshed";
  for (uint32_t range : {1, 2, 3}) EXPECT_EQ(hearCrp(12, range), Counts());
  EXPECT_EQ(hearCrp(13, 1), (Counts{{"collectedRps", 1}}));
  hearCrp(11, 1, 0);
  v.advance(0.1);
  EXPECT_EQ(held(a.global()), 5u);
  EXPECT_EQ(hearCrp(13, 1), (Counts{{"collectedRps", 1}})) << "until all have been told of the one that went";
  EXPECT_EQ(hearCrp(11, 1), Counts()) << "which may come back";
  v.status->crpIs(a.host(50))->prefixSetIs(a.group(9));
  EXPECT_EQ(hearCrp(50, 9), Counts()) << "our own always fits";
  EXPECT_EQ(hearCrp(50, 8), (Counts{{"collectedRps", 1}})) << "in the ranges that it has";
  v.advance(100);
  EXPECT_EQ(hearCrp(12, 1), Counts());
  v.advance(100);
  EXPECT_EQ(held(a.global()), 1u);
  limit(&Bsr::Limits::ranges, 2);
  EXPECT_EQ(hearCrp(13, 1), Counts());
  EXPECT_EQ(hearCrp(13, 4), Counts());
  EXPECT_EQ(hearCrp(13, 5), (Counts{{"ranges", 1}}));
}

// A sender that never changes its tag, with groups that it never repeats.
TEST_P(Limits, LastMessagesAreKeptUpToSoManyBytes) {
  limit(&Bsr::Limits::keptBytes, 65536);
  const auto group = [&](uint32_t n) { return Bsm(a.host(1)).tag(7).group(a.inScope(1, n), rps(11, 20)); };
  const auto kept = [&] { return v.machine(a.global())->lastBsm().all(); };
  Counts all;
  for (uint32_t n = 0; n < 250; ++n) all = all + hear(group(n));
  const size_t most = kept().size();
  EXPECT_EQ(all, (Counts{{"keptBytes", static_cast<int64_t>(250 - most)}}));
  EXPECT_GT(most, 40u);
  EXPECT_LT(most, 200u);
  EXPECT_EQ(kept().front()->groupData().front()->prefix(), a.inScope(1, 0)) << "what came first stays";
  EXPECT_EQ(hear(group(3)), Counts()) << "what replaces one of them fits";
  EXPECT_EQ(kept().size(), most);
  v.advance(26);
  hear(group(251));
  EXPECT_EQ(kept().size(), 1u);
  for (uint32_t n = 1; n < 128; ++n) hear(Bsm(a.host(1)).scope(a.scope(n)));
  for (uint32_t n = 0; n < 250; ++n) hear(group(n));
  EXPECT_NEAR(static_cast<double>(kept().size()), static_cast<double>(most) / 2, 2) << "a share, beyond 64 zones";
  hear(group(251).tag(8));
  EXPECT_EQ(kept().size(), 1u);
}

// A group in pieces is kept as one message said it: what is told to a newcomer must not contradict itself.
TEST_P(Limits, OfMessagesThatContradictEachOtherTheLastIsKept) {
  v.candidateIs(a.global(), 3, 0);  // which passes on and keeps what it does not store
  const Bsm first = Bsm(a.host(1)).tag(7).piece(a.group(1), 3, rps(11, 11)).group(a.group(2), rps(11, 11));
  const auto kept = [&] { return v.sm->bsrSm().candidateSm(a.global())->lastBsm().all().size(); };
  const struct {
    const char *what;
    Bsm bsm;
    size_t kept;
  } rows[] = {
      {"another piece", Bsm(a.host(1)).tag(7).piece(a.group(1), 3, rps(12, 12)), 2},
      {"one too many", Bsm(a.host(1)).tag(7).piece(a.group(1), 3, rps(12, 14)), 1},
      {"another count", Bsm(a.host(1)).tag(7).piece(a.group(1), 4, rps(12, 12)), 1},
      {"a repeated RP", Bsm(a.host(1)).tag(7).piece(a.group(1), 3, rps(11, 12)), 1},
      {"whole", Bsm(a.host(1)).tag(7).group(a.group(1), rps(15, 15)), 1},
      {"whole in the other mode", Bsm(a.host(1)).tag(7).group(a.group(1), rps(15, 15)).bidir(), 2},
      {"another prefix", Bsm(a.host(1)).tag(7).piece(a.group(3), 9, rps(11, 11)), 2},
      {"another tag", Bsm(a.host(1)).tag(8).piece(a.group(1), 3, rps(12, 12)), 1},
  };
  for (const auto &row : rows) {
    v.hear(Bsm(a.host(1)).tag(99));
    v.advance(36);  // nothing is open any more
    v.hear(first);
    v.sm->bsrSm().bsmRxFragmentsDel(7);
    v.hear(row.bsm);
    v.sm->bsrSm().bsmRxFragmentsDel(7);
    EXPECT_EQ(kept(), row.kept) << row.what;
  }
}

// Whatever has come and gone, as much fits in the end as if nothing had.
TEST_P(Limits, TheCountsAreRightAfterAnyHistory) {
  for (uint32_t seed = 1; seed <= 10; ++seed) {
    std::mt19937 random(seed);
    const auto upTo = [&](uint32_t count) { return static_cast<uint32_t>(random() % count); };
    for (int step = 0; step < 150; ++step) {
      const uint32_t zone = upTo(3);
      Bsm bsm(a.host(1 + upTo(2)), static_cast<uint8_t>(60 + upTo(3)));
      if (zone > 0) bsm.scope(a.scope(4 + zone));
      for (uint32_t n = upTo(3); n > 0; --n) {
        const auto group = zone > 0 ? a.inScope(4 + zone, n) : a.group(n);
        bsm.group(group, rps(11, 11 + upTo(6), static_cast<uint16_t>(upTo(300))));
      }
      v.hear(bsm);
      if (upTo(10) == 0) v.candidateIs(a.global(), 50, upTo(2) ? 255 : 0);
      v.hearCrp(60 + upTo(3), a.host(50), {{a.group(upTo(4))}}, static_cast<uint16_t>(upTo(2) * 200));
      if (upTo(10) == 0) v.candidateDel(a.global());
      if (upTo(4) == 0) v.advance(upTo(200));
      if (upTo(30) == 0) v.stop(), v.start();
    }
    v.candidateDel(a.global());
    v.advance(3000);
    limit(&Bsr::Limits::rps, 50);
    limit(&Bsr::Limits::ranges, 5);
    for (uint32_t n = 1; n <= 5; ++n) EXPECT_EQ(hear(Bsm(a.host(1)).group(a.group(n), rps(11, 20))), Counts()) << n;
    EXPECT_EQ(hear(Bsm(a.host(1)).group(a.group(5), rps(21, 21))), (Counts{{"rps", 1}}));
    limit(&Bsr::Limits::rps, 51);
    EXPECT_EQ(hear(Bsm(a.host(1)).group(a.group(6), rps(21, 21))), (Counts{{"ranges", 1}}));
    v.config->limitsIs({});
  }
}

FOR_BOTH_FAMILIES(Limits);

}  // namespace
}  // namespace Test
