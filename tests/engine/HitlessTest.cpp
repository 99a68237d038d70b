#include "agent/HitlessSm.h"

#include <gtest/gtest.h>

#include "agent/RedundancyStatusSm.h"
#include "tests/support/TestVrf.h"

namespace Test {
namespace {

struct Hitless : testing::TestWithParam<Addresses> {
  Hitless() : v(GetParam()) { v.intfIs(1); }
  void crpIs(uint32_t n, uint16_t interval) {
    const auto crp = v.status->crpIs(v.a.host(n));
    crp->intervalIs(interval);
    crp->prefixSetIs(v.a.group(n));
    crp->prefixOptionsIs(v.a.group(n))->priorityIs(10);
  }
  void startHitless() {
    sm = std::make_unique<Bsr::HitlessSm>(v.container.config, v.status, v.sm->bsrSm().timerWheel(), shutdown, completed,
                                          "default");
  }
  bool isCompleted() const { return completed->completedVrf("default"); }

  TestVrf v;
  const Kiv::Ptr<McastCommon::HitlessShutdownStatus> shutdown = Kiv::make<McastCommon::HitlessShutdownStatus>();
  const Kiv::Ptr<McastCommon::HitlessVrfStatus> completed = Kiv::make<McastCommon::HitlessVrfStatus>();
  std::unique_ptr<Bsr::HitlessSm> sm;
};

TEST_P(Hitless, TheBsrHearsOfTheLongerIntervalBeforeTheVrfIsCompleted) {
  crpIs(7, 60);
  crpIs(8, 30);
  v.hear(Bsm(v.a.host(60)));
  v.advance(10);
  startHitless();
  v.port->advertised.clear();
  Tracelet::CaptureSink log;
  shutdown->shutdownIs(true);
  EXPECT_TRUE(log.contains("<Vrf:default>doHitlessShutdown(), Starting the HITLESS notification timer"));
  v.advance(4.9);
  EXPECT_FALSE(isCompleted());
  std::map<Pax::IpGenAddr, uint16_t> told;
  for (const auto &message : v.port->advertised) told[message->rpAddress()] = message->holdTime();
  EXPECT_EQ(told, (std::map<Pax::IpGenAddr, uint16_t>{{v.a.host(7), 360}, {v.a.host(8), 360}}));
  v.advance(0.2);
  EXPECT_TRUE(isCompleted());
  EXPECT_FALSE(sm->hitlessTimer().armed());
}

TEST_P(Hitless, AMachineThatEndsOrWasNeverAskedCompletesNothing) {
  startHitless();
  shutdown->shutdownIs(true);
  sm.reset();
  v.advance(60);
  EXPECT_FALSE(isCompleted());
  shutdown->shutdownIs(false);
  startHitless();
  v.advance(60);
  EXPECT_FALSE(isCompleted());
  EXPECT_THROW(sm->hitlessCrpIntervalIs(21846), Kiv::RangeError);
}

INSTANTIATE_TEST_SUITE_P(Families, Hitless, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; });

TEST(RedundancyStatusSm, OnlyAHotStandbyControllerThatIsNotActiveStandsBy) {
  using Redundancy::ControllerMode;
  using Redundancy::Protocol;
  for (const auto protocol : {Protocol(0), Protocol(1), Protocol(3)}) {
    for (const auto mode : {ControllerMode(0), ControllerMode(4), ControllerMode(5)}) {
      const auto status = Kiv::make<Redundancy::RedundancyStatus>();
      std::vector<bool> told;
      const Bsr::RedundancyStatusSm sm(status, [&](bool standby) { told.push_back(standby); });
      EXPECT_EQ(told, std::vector<bool>{false});
      status->protocolIs(protocol);
      status->modeIs(mode);
      EXPECT_EQ(told.back(), uint8_t(protocol) == 3 && uint8_t(mode) != 5) << protocol << ' ' << mode;
    }
  }
}

}  // namespace
}  // namespace Test
