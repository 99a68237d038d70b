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

TEST_P(NonCandidate, ANewBsrClearsTheRpSetOfTheOld) {
  v.hear(from(5, 64).group(v.a.group(1), {{v.a.host(21), 150, 0}}));
  v.hear(from(6, 64).group(v.a.group(2), {{v.a.host(22), 150, 0}}));
  EXPECT_EQ(v.rps(v.a.global(), v.a.group(1)), std::nullopt);
  EXPECT_EQ(v.rps(v.a.global(), v.a.group(2)), std::vector{v.a.host(22)});
  EXPECT_EQ(v.publishedRps(v.a.group(1)), std::nullopt);
}

TEST_P(NonCandidate, TheGlobalZoneForgetsItsBsrAfterTheHoldTimeAndStays) {
  v.hear(from(5, 64));
  EXPECT_EQ(v.machine(v.a.global())->state(), State::acceptPreferred);
  advance(129.9);
  EXPECT_TRUE(v.bsr(v.a.global()));
  advance(0.2);
  EXPECT_FALSE(v.bsr(v.a.global()));
  advance(100000);
  ASSERT_TRUE(v.machine(v.a.global()));
  EXPECT_EQ(v.machine(v.a.global())->state(), State::acceptAny);
  v.hear(from(1, 1));
  EXPECT_EQ(v.bsr(v.a.global())->ipAddr(), v.a.host(1));
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

TEST_P(NonCandidate, TheDeadBsrsSetIsRefreshedOnceAndServesItsHoldTimes) {
  const auto prefix = v.a.group(1);
  v.hear(from(5, 64).group(prefix, {{v.a.host(21), 150, 0}}));
  advance(130.5);  // refreshed at 130
  ASSERT_FALSE(v.bsr(v.a.global()));
  EXPECT_EQ(v.publishedRps(prefix), std::vector{v.a.host(21)});
  advance(149);
  EXPECT_EQ(v.publishedRps(prefix), std::vector{v.a.host(21)});
  advance(1);
  EXPECT_EQ(v.rps(v.a.global(), prefix), std::nullopt);
  EXPECT_EQ(v.publishedRps(prefix), std::nullopt);
  EXPECT_TRUE(v.status->crpStatus().empty());
}

TEST_P(NonCandidate, ARefreshRenewsAllFragmentsOfTheLastMessage) {
  for (uint32_t n = 0; n < 3; ++n) {
    v.hear(from(5, 64).tag(7).group(v.a.group(n), {{v.a.host(21), 140, 0}}));
    advance(1);
  }
  advance(130);
  ASSERT_FALSE(v.bsr(v.a.global())) << "expired 130 s after the last fragment";
  advance(30);
  for (uint32_t n = 0; n < 3; ++n) EXPECT_TRUE(v.rps(v.a.global(), v.a.group(n))) << n;
}

TEST_P(NonCandidate, RestartOnExistingStatusKeepsTheBsrForOneTimeout) {
  v.hear(from(5, 64).group(v.a.group(1), {{v.a.host(21), 150, 0}}));
  advance(100);
  v.stop();
  advance(5);
  v.start();
  EXPECT_EQ(v.machine(v.a.global())->state(), State::acceptPreferred);
  EXPECT_EQ(v.publishedRps(v.a.group(1)), std::vector{v.a.host(21)});
  advance(46);
  EXPECT_EQ(v.publishedRps(v.a.group(1)), std::nullopt) << "RPs keep the rest of their hold time";
  EXPECT_TRUE(v.bsr(v.a.global()));
  advance(85);
  EXPECT_FALSE(v.bsr(v.a.global()));
}

TEST_P(NonCandidate, ClearingTheFamilyEndsTheMachinesAndSettingItStartsAgain) {
  v.hear(from(5, 64));
  v.status->afIs(Pax::AddressFamily::unknown);
  EXPECT_FALSE(v.machine(v.a.global()));
  v.status->afIs(v.a.af);
  ASSERT_TRUE(v.machine(v.a.global()));
  EXPECT_EQ(v.machine(v.a.global())->state(), State::acceptPreferred);
}

INSTANTIATE_TEST_SUITE_P(Families, NonCandidate, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; });

}  // namespace
}  // namespace Test
