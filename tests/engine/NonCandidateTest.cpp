// A router that is no candidate: whom it believes, and when it stops.

#include <gtest/gtest.h>

#include "tests/support/TestVrf.h"

namespace Test {
namespace {

using State = Bsr::BsrNonCandidateState;

class NonCandidate : public testing::TestWithParam<Addresses> {
 protected:
  NonCandidate() : v(GetParam()) { v.intfIs(1); }
  void advance(double seconds) { v.time.advanceTo(v.time.now() + seconds); }
  Bsm from(uint32_t bsr, uint8_t priority) { return Bsm(v.a.host(bsr), priority); }

  TestVrf v;
};

TEST_P(NonCandidate, TakesTheFirstBsrThenOnlyBetterOnesAndItsOwn) {
  const struct {
    const char *name;
    uint32_t bsr;
    uint8_t priority;
    bool accepted;
  } messages[] = {
      {"the first", 5, 64, true},         {"a lower address", 4, 64, false},
      {"a lower priority", 9, 63, false}, {"the current with a lower priority", 5, 10, true},
      {"a higher address", 6, 10, true},  {"a higher priority", 2, 11, true},
      {"the current again", 2, 11, true},
  };
  Pax::IpGenAddr current;
  for (const auto &message : messages) {
    SCOPED_TRACE(message.name);
    advance(1);
    v.port->sent.clear();
    v.hear(from(message.bsr, message.priority));
    if (message.accepted) current = v.a.host(message.bsr);
    EXPECT_EQ(v.bsr(v.a.global())->ipAddr(), current);
    EXPECT_EQ(v.port->sent.size(), message.accepted ? 1u : 0u);
    if (message.accepted) {
      EXPECT_EQ(v.bsr(v.a.global())->priority(), message.priority);
      EXPECT_EQ(v.bsr(v.a.global())->expiryTime(), v.time.now() + 130);
    }
  }
}

TEST_P(NonCandidate, AScopedZoneIsForgottenAfterItsTimeoutAndComesBack) {
  const Pax::IpGenPrefix zone = v.a.scope(5);
  v.hear(from(5, 64).scope(zone));
  advance(131);
  EXPECT_EQ(v.machine(zone)->state(), State::acceptAny);
  advance(1290);
  EXPECT_TRUE(v.machine(zone));
  v.hear(from(4, 64).scope(zone));
  advance(129);
  EXPECT_TRUE(v.bsr(zone)) << "a message stops the scope-zone timer";
  advance(130 + 1300);
  EXPECT_FALSE(v.machine(zone));
  EXPECT_FALSE(v.status->crpStatus(zone)) << "nothing of the zone is left";
  v.hear(from(4, 64).scope(zone));
  EXPECT_EQ(v.machine(zone)->state(), State::acceptPreferred);
}

TEST_P(NonCandidate, TimeoutsThatShrinkShortenRunningTimersAndOnlyThose) {
  const Pax::IpGenPrefix zone = v.a.scope(5);
  v.hear(from(5, 64));
  v.config->holdTimeIs(200);
  EXPECT_EQ(v.bsr(v.a.global())->expiryTime(), v.time.now() + 130);
  v.config->holdTimeIs(20);
  EXPECT_EQ(v.bsr(v.a.global())->expiryTime(), v.time.now() + 20);
  v.hear(from(5, 64).scope(zone));
  advance(21);
  EXPECT_FALSE(v.bsr(v.a.global()));
  EXPECT_FALSE(v.bsr(zone));
  v.config->szTimeoutIs(300);  // ten hold times allow it
  advance(278);
  EXPECT_TRUE(v.machine(zone));
  advance(30);
  EXPECT_FALSE(v.machine(zone));
}

INSTANTIATE_TEST_SUITE_P(Families, NonCandidate, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; });

}  // namespace
}  // namespace Test
