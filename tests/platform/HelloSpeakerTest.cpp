#include "platform/pim/HelloSpeaker.h"

#include <gtest/gtest.h>

#include "tests/support/BsmBuilder.h"
#include "tests/support/HelloRouter.h"

namespace Test {
namespace {

using namespace Routing::Pim;
using Router = HelloRouter;

TEST(HelloSpeakerTest, theInterfaceIsInStatusWhileConfiguredUpAndAddressed) {
  Router router(ipv4, {}, false);
  EXPECT_FALSE(router.pimIntf());
  router.intf->upIs(true);
  router.hellosIn(5);
  router.hear(20);
  const auto firstGenerationId = router.hello(0).generationId();
  router.intf->upIs(false);
  EXPECT_FALSE(router.pimIntf());
  EXPECT_EQ(router.hellosIn(100), 0u) << "nothing leaves a dead link";
  router.intf->upIs(true);
  EXPECT_TRUE(router.pimIntf()->neighbor().empty());
  router.hellosIn(5);
  EXPECT_NE(router.lastHello().generationId(), firstGenerationId) << "a start is a new generation";

  router.intf->pimAddrIs({});
  EXPECT_FALSE(router.pimIntf());
  EXPECT_EQ(router.lastHello().holdTime(), 0);
  router.addressIs(11);
  router.hellosIn(5);
  EXPECT_EQ(router.pimIntf()->address(), ipv4.onLink(11));
  router.speaker->intfDel(router.eth1);
  EXPECT_FALSE(router.pimIntf());
  EXPECT_EQ(router.lastHello().holdTime(), 0);
  EXPECT_EQ(router.hellosIn(100), 0u);

  router.speaker->intfIs(router.eth1);
  router.interfaces->intfStatusDel(router.eth1);
  EXPECT_FALSE(router.pimIntf());
  router.intf = router.interfaces->intfStatusIs(router.eth1);
  router.addressIs(12);
  router.intf->upIs(true);
  EXPECT_EQ(router.pimIntf()->address(), ipv4.onLink(12));
  router.hellosIn(5);
  router.speaker->shutDown();
  EXPECT_TRUE(router.status->pimIntf().empty());
  EXPECT_EQ(router.lastHello().holdTime(), 0);
}

TEST(HelloSpeakerTest, aNewOrRestartedNeighborGetsOneTriggeredHelloWhichIsCountedOnceSent) {
  Router router(ipv4);
  router.hellosIn(6);
  const auto triggered = [&] { return router.pimIntf()->triggeredHelloSent(); };
  router.hear(20);
  router.hear(21);
  EXPECT_EQ(triggered(), 0u);
  EXPECT_EQ(router.hellosIn(5), 1u) << "one for both";
  EXPECT_EQ(triggered(), 1u);
  router.hear(20);
  EXPECT_EQ(router.hellosIn(5), 0u) << "known already";
  router.hear(20, {.generationId = 2});
  EXPECT_EQ(router.neighbor(20)->generationId(), 2u);
  EXPECT_EQ(router.neighbor(20)->upTime(), router.time.now());
  EXPECT_EQ(router.hellosIn(5), 1u);
  EXPECT_EQ(triggered(), 2u);
  router.hear(20, {.generationId = std::nullopt});
  router.port->broken = true;
  router.hellosIn(5);
  EXPECT_EQ(triggered(), 2u) << "what was not sent does not count";
}

TEST(HelloSpeakerTest, aHelloGoesBeforeTheBootstrapMessageThatNeighborsWouldRefuse) {
  Router router(ipv4);
  const Kiv::Ptr<Packet::BootstrapMessage> bsm = Bsm(ipv4.host(9));
  const auto sentWith = [&] {
    const size_t before = router.hellos();
    router.port->send(router.eth1, *bsm);
    return router.hellos() - before;
  };
  EXPECT_EQ(sentWith(), 2u) << "nobody has heard of us";
  EXPECT_EQ(sentWith(), 1u);
  router.hear(20);
  EXPECT_EQ(sentWith(), 2u) << "the new neighbor has not";
  EXPECT_EQ(sentWith(), 1u);
}

TEST(HelloSpeakerTest, theDrHasTheHighestPriorityThenAddressAndPriorityOnlyIfAllSendIt) {
  const struct {
    const char *what;
    uint32_t own;
    std::optional<uint32_t> low, high;  // of onLink(5) and onLink(20), around our onLink(10)
    uint32_t dr;
  } cases[] = {
      {"never over a router by default", 0, 1, 1, 20},
      {"priority before address", 0, 2, 1, 5},
      {"ours is highest", 3, 2, 1, 10},
      {"equal: highest address", 1, 1, 1, 20},
      {"one omits it: highest address", 9, 9, {}, 20},
      {"ours counts for nothing then", 9, {}, 1, 20},
  };
  for (const Addresses &a : {ipv4, ipv6}) {
    for (const auto &[what, own, low, high, dr] : cases) {
      Router router(a, {true, own});
      EXPECT_TRUE(router.pimIntf()->isDr());
      router.hear(5, {.drPriority = low});
      router.hear(20, {.drPriority = high});
      EXPECT_EQ(router.pimIntf()->dr(), a.onLink(dr)) << what;
      EXPECT_EQ(router.pimIntf()->isDr(), dr == 10) << what;
      for (const uint32_t neighbor : {20, 5}) router.hear(neighbor, {.holdTime = 0});
      EXPECT_TRUE(router.pimIntf()->isDr()) << what;
    }
  }
}

TEST(HelloSpeakerTest, aHelloGoesWithinFiveSecondsEveryThirtyAndForANewPrimaryAddress) {
  for (const Addresses &a : {ipv4, ipv6}) {
    Router router(a);
    EXPECT_EQ(router.hellosIn(0), 0u);
    EXPECT_EQ(router.hellosIn(5), 1u);
    EXPECT_EQ(router.hello(0).drPriority(), 0u);
    EXPECT_EQ(router.port->sent[0].destination, Pax::allPimRouters(a.af));
    EXPECT_EQ(router.hellosIn(300), 10u);
    EXPECT_EQ(router.hello(10).generationId(), router.hello(0).generationId());
    router.hear(11);
    router.hellosIn(6);
    const size_t before = router.hellos();
    router.addressIs(11);  // which was the neighbor's
    ASSERT_EQ(router.hellos(), before + 2);
    const std::pair<uint32_t, uint16_t> expected[] = {{10, 0}, {11, 105}};
    for (size_t i = 0; i < 2; ++i) {
      EXPECT_EQ(router.port->sent[before + i].source, a.onLink(expected[i].first));
      EXPECT_EQ(router.hello(before + i).holdTime(), expected[i].second);
    }
    EXPECT_FALSE(router.neighbor(11));
    EXPECT_TRUE(router.pimIntf()->isDr());
  }
}

TEST(HelloSpeakerTest, aListenerSaysNothingAndTakesTheOtherDaemonsHelloAsSentAfterFiveSeconds) {
  Router router(ipv4, {false, 3});
  router.hear(20, {.drPriority = 2});
  EXPECT_TRUE(router.pimIntf()->isDr());
  router.hellosIn(4.9);
  EXPECT_EQ(router.pimIntf()->triggeredHelloSent(), 0u);
  router.hellosIn(0.2);
  EXPECT_EQ(router.pimIntf()->triggeredHelloSent(), 1u);
  router.port->send(router.eth1, *Kiv::Ptr<Packet::BootstrapMessage>(Bsm(ipv4.host(9))));
  router.hellosIn(100);
  router.speaker->shutDown();
  EXPECT_EQ(router.port->sent.size(), 1u) << "the Bootstrap message alone";
  EXPECT_EQ(router.port->counters().sendFailed, 0u);
}

}  // namespace
}  // namespace Test
