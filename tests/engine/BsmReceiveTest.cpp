// The gate for received Bootstrap messages: its tests in their order, and what each drop leaves behind.

#include <gtest/gtest.h>

#include <functional>

#include "tests/support/TestVrf.h"

namespace Test {
namespace {

using Errors = Bsr::PimBsrErrorCounters;

struct Drop {
  const char *name;
  std::function<void(TestVrf &, Kiv::Ptr<Pim::Packet::BootstrapMessage>)> hear;
  uint32_t Errors::*counter;
  const char *trace;
};

const std::vector<Drop> drops = {
    {"unicast destination", [](TestVrf &v, auto bsm) { v.port->hear(v.intf(1), v.neighbor(1), v.a.onLink(1), *bsm); },
     &Errors::unicastBsmError, "RX - Error - Unicast BSM not supported."},
    {"foreign multicast destination",
     [](TestVrf &v, auto bsm) { v.port->hear(v.intf(1), v.neighbor(1), v.a.group(1).address(), *bsm); },
     &Errors::unknownDestError, "RX - Error - Do not know what we are dealing with here: "},
    {"no route to the BSR",
     [](TestVrf &v, auto bsm) {
       v.routes->answer.clear();
       v.port->hear(v.intf(1), v.neighbor(1), Pax::allPimRouters(v.a.af), *bsm);
     },
     &Errors::rpfError, " - RPF neighbor not available."},
    {"right neighbour, wrong interface",
     [](TestVrf &v, auto bsm) {
       v.intfIs(2);
       v.port->hear(v.intf(2), v.neighbor(1), Pax::allPimRouters(v.a.af), *bsm);
     },
     &Errors::rpfError, ") is not from neighbor "},
    {"wrong neighbour",
     [](TestVrf &v, auto bsm) { v.port->hear(v.intf(1), v.a.onLink(77), Pax::allPimRouters(v.a.af), *bsm); },
     &Errors::rpfError, ") is not from neighbor "},
    {"border of the zone",
     [](TestVrf &v, auto bsm) {
       v.status->bsBorderIs(v.a.global())->intfIdIs(v.intf(1));
       v.hear(bsm);
     },
     &Errors::deniedError, "arrived on is a BSR border for group"},
    {"no-forward after the quick refresh",
     [](TestVrf &v, auto bsm) {
       v.time.advanceTo(v.time.now() + 61);
       bsm->forwardIs(false);
       v.hear(bsm);
     },
     &Errors::noFwdBsmError, "lastBsm=Set, TimeSince startup=61, bsPeriod=60"},
};

class BsmReceive : public testing::TestWithParam<Addresses> {};

TEST_P(BsmReceive, DropsAreCountedByReasonAndChangeNothingElse) {
  for (const Drop &drop : drops) {
    SCOPED_TRACE(drop.name);
    TestVrf v(GetParam());
    v.intfIs(1);
    v.routeIs(v.a.host(1), 1);
    Tracelet::CaptureSink log;
    drop.hear(v, Bsm(v.a.host(1)).group(v.a.group(1), {{v.a.host(9), 150, 0}}));
    EXPECT_TRUE(log.contains(drop.trace));
    Errors expected;
    expected.*drop.counter = 1;
    EXPECT_EQ(v.counters().errCounters(), expected);
    EXPECT_EQ(v.counters().rx(), 1u);
    EXPECT_EQ(v.counters().rxBsm(), 1u);
    EXPECT_EQ(v.counters().rxError(), 1u);
    EXPECT_EQ(v.counters().rxBsmError(), 1u);
    EXPECT_EQ(v.counters().rxSuccess(), 0u);
    EXPECT_TRUE(v.status->bootstrapRouter().empty());
    EXPECT_TRUE(v.port->sent.empty());
    EXPECT_FALSE(v.sm->bsrIOSm().lastBsm(v.a.global()));
  }
}

TEST_P(BsmReceive, AQuickRefreshIsTakenOnceWithoutTheWayBack) {
  TestVrf v(GetParam());
  v.intfIs(1);
  v.time.advanceTo(v.time.now() + 10);
  const auto hear = [&] {
    v.port->hear(v.intf(1), v.neighbor(1), Pax::allPimRouters(v.a.af),
                 *Kiv::Ptr<Pim::Packet::BootstrapMessage>(Bsm(v.a.host(1)).noForward()));
  };
  hear();
  EXPECT_EQ(v.counters().rxBsmSuccess(), 1u);
  EXPECT_TRUE(v.bsr(v.a.global()));
  EXPECT_TRUE(v.port->sent.empty()) << "a no-forward message is not flooded";
  Tracelet::CaptureSink log;
  hear();
  EXPECT_EQ(v.counters().errCounters().noFwdBsmError, 1u);
  EXPECT_TRUE(log.contains("lastBsm=NULL"));
}

TEST_P(BsmReceive, ASendThatFailsCountsAsError) {
  TestVrf v(GetParam());
  v.intfIs(1);
  v.port->broken = true;
  v.hear(Bsm(v.a.host(1)));
  EXPECT_EQ(v.counters().tx(), 1u);
  EXPECT_EQ(v.counters().txError(), 1u);
  v.port->broken = false;
  v.hear(Bsm(v.a.host(1)));
  EXPECT_EQ(v.counters().tx(), 2u);
  EXPECT_EQ(v.counters().txSuccess(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Families, BsmReceive, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; });

}  // namespace
}  // namespace Test
