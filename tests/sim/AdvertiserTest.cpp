// Candidate RPs whose configuration changes while the protocol runs, and what the routers hold of them.
#include <gtest/gtest.h>

#include "tests/sim/Story.h"

namespace Test {
namespace {

namespace Pim = Routing::Pim;
const Pax::IntfId loopback(L3::defaultVrf, "lo");

// Group range and RP, and what is held of it; the hold time only where it has settled.
using Key = std::pair<Pax::IpGenPrefix, Pax::IpGenAddr>;
using Held = std::map<Key, std::string>;

std::string textOf(Pim::Mode mode, unsigned priority, unsigned holdTime = 0) {
  std::ostringstream out;
  out << mode << ' ' << priority;
  if (holdTime > 0) out << ' ' << holdTime;
  return out.str();
}

// Five routers in a ring, all within the scope and all RPs. r0 is the BSR of all groups, r3 of the scope.
class Network {
 public:
  Network(const Addresses &addresses, uint64_t seed, const Sim::LinkParameters &parameters)
      : story(addresses, seed), random(seed) {
    story.chain({"r0", "r1", "r2", "r3", "r4", "r0"}, {1500}, parameters);
    story.host("r0").candidateBsrIs(addresses.global(), 64);
    story.host("r3").candidateBsrIs(addresses.scope(5), 30);
    story.start(routers);
    story.time().runFor(90);
    begin = story.time().now();
  }

  // Up to three changes of one RP, with one of its ranges, as a reload makes them.
  void change() {
    const std::string name = routers[random.next() % routers.size()];
    const Pax::IpGenPrefix range = ranges[random.next() % ranges.size()];
    for (uint32_t left = random.next() % 3 + 1; left > 0; --left) change(name, range, random.next() % 8);
  }
  // What is looked at: the ranges of a router that is their BSR, or all. Before it has settled, hold times may
  // be old, and others may still have what is not announced beside a bidirectional RP.
  struct Look {
    bool all, settled;
    double delay;  // after a range came or changed its mode, in which it is learned for good
  };
  // The routers hold and use what is configured.
  void expectHeld(const Look &look) {
    for (const std::string &router : routers) {
      const Held expected = expectedAt(router, look);
      Held learned, published;
      for (const auto &[zone, ofZone] : story.host(router).status().crpStatus()) {
        add(learned, expected, *ofZone->status(), router, look);
      }
      add(published, expected, story.host(router).rpSet(), router, look);
      ASSERT_EQ(learned, expected) << router << " at " << story.time().now();
      ASSERT_EQ(published, expected) << router << " at " << story.time().now();
      for (const auto &[zone, bsr] : story.host(router).status().bootstrapRouter()) {
        EXPECT_LE(bsr->setupTime(), begin + look.delay) << router << " lost the BSR of " << zone;
      }
    }
  }

  Story story;
  Orb::Random random;

 private:
  struct Rp {
    Pim::Mode mode = Pim::Mode::sparse;
    uint16_t interval = 60;
    std::map<Pax::IpGenPrefix, uint16_t> ranges;  // with their priorities
  };

  void change(const std::string &name, const Pax::IpGenPrefix &range, uint32_t what) {
    const auto config = story.host(name).config().rpCandidateConfigIs(loopback);
    const Pax::IpGenAddr &address = story.network.router(name).address();
    Rp &rp = rps[address];
    if (what < 3) {
      const bool isKnown = rp.ranges.contains(range) && since[{range, address}] + 3.1 < story.time().now();
      if (!isKnown) touch(address, range);
      rp.ranges[range] = static_cast<uint16_t>(random.next() % 3 * 10);
      story.host(name).candidateRpIs(range, rp.ranges[range]);
    } else if (what < 4) {
      touch(address, range);
      rp.ranges.erase(range);
      config->groupRangeDel(range);
      config->groupRangeOptionsDel(range);
    } else if (what < 5) {
      rp.interval = static_cast<uint16_t>(20 + random.next() % 5 * 25);
      config->advIntervalIs(Pim::CrpAdvInterval(rp.interval));
    } else {
      for (const auto &[served, priority] : rp.ranges) touch(address, served);
      rp.mode = rp.mode == Pim::Mode::bidir ? Pim::Mode::sparse : Pim::Mode::bidir;
      if (what < 7) return config->modeIs(rp.mode);
      rps.erase(address);
      story.host(name).candidateRpDel();
    }
  }
  void touch(const Pax::IpGenAddr &address, const Pax::IpGenPrefix &range) {
    since[{range, address}] = sinceOfAny[range] = story.time().now();
  }
  bool isBsr(const std::string &name, const Pax::IpGenPrefix &range) const {
    return name == (story.addresses.scope(5).covers(range) ? "r3" : "r0");
  }
  void add(Held &held, const Held &expected, const Pim::RpCandidateStatus &status, const std::string &router,
           const Look &look) {
    for (const auto &[range, set] : status.crpSet()) {
      for (const auto &[rp, known] : set->rp()) {
        const bool isOld = !look.settled && !isBsr(router, range) && rps[rp].ranges.contains(range);
        if ((!look.all && !isBsr(router, range)) || (isOld && !expected.contains({range, rp}))) continue;
        held[{range, rp}] = textOf(known->pimMode(), known->priority(), look.settled ? known->holdTime() : 0);
        const double last = isBsr(router, range) ? since[{range, rp}] : sinceOfAny[range];
        EXPECT_LE(known->setupTime(), last + look.delay) << router << " lost " << rp << " for " << range;
      }
    }
  }
  // Its BSR apart, a router hears only of the bidirectional RPs of a range that has any.
  Held expectedAt(const std::string &router, const Look &look) {
    Held expected;
    for (const Pax::IpGenPrefix &range : ranges) {
      if (!look.all && !isBsr(router, range)) continue;
      const bool bidirOnly = !isBsr(router, range) && std::any_of(rps.begin(), rps.end(), [&](const auto &entry) {
        return entry.second.mode == Pim::Mode::bidir && entry.second.ranges.contains(range);
      });
      for (const auto &[address, rp] : rps) {
        if (!rp.ranges.contains(range) || (bidirOnly && rp.mode != Pim::Mode::bidir)) continue;
        const unsigned holdTime = rp.interval > 50 ? 3 * rp.interval : 180;
        expected[{range, address}] = textOf(rp.mode, rp.ranges.at(range), look.settled ? holdTime : 0);
      }
    }
    return expected;
  }

  const std::vector<std::string> routers{"r0", "r1", "r2", "r3", "r4"};
  const std::vector<Pax::IpGenPrefix> ranges{story.addresses.group(1), story.addresses.group(2),
                                             story.addresses.global(), story.addresses.inScope(5, 1),
                                             story.addresses.inScope(5, 2)};
  std::map<Pax::IpGenAddr, Rp> rps;
  double begin;
  std::map<Key, double> since;
  std::map<Pax::IpGenPrefix, double> sinceOfAny;
};

class Advertising : public testing::TestWithParam<uint64_t> {};

TEST_P(Advertising, EndsWithWhatIsConfigured) {
  const bool lossy = GetParam() / 2 % 2 == 0;
  Network network(GetParam() % 2 == 0 ? ipv4 : ipv6, GetParam(), {.jitter = lossy ? 0.9 : 0, .loss = lossy ? 0.2 : 0});
  for (int step = 0; step < 150; ++step) {
    network.change();
    if (lossy && step % 8 == 0) network.story.network.links()[step % 5]->cut();
    if (lossy && step % 8 == 4) network.story.network.links()[step % 5]->heal();
    const double gap = std::vector<double>{0, 0, 0.3, 1, 3.1, 75}[network.random.next() % 6];
    network.story.time().runFor(gap);
    if (!lossy && gap >= 3.1) ASSERT_NO_FATAL_FAILURE(network.expectHeld({false, false, 3.1}));
    if (!lossy && gap == 75) ASSERT_NO_FATAL_FAILURE(network.expectHeld({true, false, 15}));
  }
  for (const auto &link : network.story.network.links()) link->heal(), link->parametersIs({});
  network.story.time().runFor(1000);
  network.expectHeld({true, true, lossy ? Orb::never : 15});
}

INSTANTIATE_TEST_SUITE_P(Seeds, Advertising, testing::Range(uint64_t{1}, uint64_t{21}),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace Test
