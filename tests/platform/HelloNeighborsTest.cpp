// Who is a neighbor, and who has which address.
#include <gtest/gtest.h>

#include "platform/pim/PimRpfTable.h"
#include "platform/tracelet/Sinks.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/HelloRouter.h"

namespace Test {
namespace {

using namespace Routing::Pim;
using IO::HelloSpeaker;
using Packet::HelloMessage;
using Router = HelloRouter;

TEST(HelloNeighborsTest, neighborsLastAsLongAsTheySay) {
  Router router(ipv4);
  const Said forEver{.holdTime = HelloMessage::holdTimeForEver}, goodbye{.holdTime = 0};
  router.hear(20, {.holdTime = 100});
  router.hear(21, forEver);
  router.hear(22);
  router.hear(10);  // ourselves, looped back
  EXPECT_EQ(router.pimIntf()->neighbor().size(), 3u);
  router.hear(22, goodbye);
  router.hear(23, goodbye);
  EXPECT_EQ(router.pimIntf()->neighbor().size(), 2u);
  EXPECT_EQ(router.neighbor(20)->expires(), router.time.now() + 100);
  router.hellosIn(60);
  router.hear(20, {.holdTime = 100});
  router.hellosIn(99);
  EXPECT_TRUE(router.neighbor(20));
  router.hellosIn(2);
  EXPECT_FALSE(router.neighbor(20));
  router.hellosIn(1e6);
  EXPECT_TRUE(router.neighbor(21));
}

TEST(HelloNeighborsTest, whoUsesAnAddressThatIsOursNowIsNoLongerHeard) {
  Router router(ipv4);
  router.hear(20);
  router.hear(21);
  const auto other = router.interfaces->intfStatusIs({"default", "eth2"});
  router.hear(20);
  other->addressIs(ipv4.onLink(20), {});
  router.hellosIn(100);
  for (const uint32_t neighbor : {20, 21}) router.hear(neighbor);
  router.hellosIn(10);
  EXPECT_FALSE(router.neighbor(20));
  EXPECT_TRUE(router.neighbor(21));
  other->addressDel(ipv4.onLink(20));
  router.hear(20);
  EXPECT_TRUE(router.neighbor(20));
  router.interfaces->intfStatusDel({"default", "eth2"});
  router.interfaces->intfStatusIs({"default", "eth3"})->addressIs(ipv4.onLink(22), {});
  router.hear(22);
  EXPECT_FALSE(router.neighbor(22));
}

TEST(HelloNeighborsTest, aFloodOfNeighborsEndsAtTheLimitAndDrivesNobodyOut) {
  Router router(ipv4);
  const Said forEver{.holdTime = HelloMessage::holdTimeForEver};
  const size_t most = router.pimIntf()->neighborsMost();
  const auto speakOtherwise = [&](uint32_t from) {
    router.port->hear(router.eth1, ipv4.onLink(from), *Kiv::Ptr<Packet::BootstrapMessage>(Bsm(ipv4.host(9))));
  };
  router.hear(20);
  for (uint32_t n = 1000; n < 1400; ++n) {
    router.hellosIn(0.01);
    router.hear(n, forEver);
    EXPECT_TRUE(router.neighbor(n)) << "it may be a real one";
  }
  EXPECT_EQ(router.pimIntf()->neighbor().size(), most);
  EXPECT_TRUE(router.neighbor(20)) << "the latest one goes";
  router.hear(30);
  speakOtherwise(30);
  router.hellosIn(0.01);
  router.hear(2000, forEver);
  EXPECT_TRUE(router.neighbor(30)) << "a stranger does not drive it out";
  for (uint32_t n = 1000; n < 1256; ++n) router.hear(n, {.holdTime = 0});

  for (uint32_t n = 3000; n < 3400; ++n) {
    router.hear(n);
    speakOtherwise(n);
  }
  const auto refused = router.pimIntf()->helloRefused();
  EXPECT_GT(refused, 0u);
  const auto over = router.port->counters().neighborsOverLimit;
  EXPECT_GT(over, refused) << "those who took another's place count, too";
  const Tracelet::CaptureSink traces(1);
  router.hellosIn(60);
  for (uint32_t n = 4000; n < 4010; ++n) router.hear(n, forEver);
  EXPECT_EQ(router.pimIntf()->neighbor().size(), most);
  EXPECT_EQ(router.pimIntf()->helloRefused(), refused + 10);
  EXPECT_EQ(router.port->counters().neighborsOverLimit, over + 10);
  EXPECT_EQ(traces.count("No more than 256 neighbors are kept on eth1"), 1u);
  router.hear(3150, forEver);
  router.hear(5000);
  EXPECT_TRUE(router.neighbor(5000));
  EXPECT_FALSE(router.neighbor(3150)) << "it would stay for ever";
}

TEST(HelloNeighborsTest, aNeighborThatRestartsAllTheTimeGetsAFewHellos) {
  Router router(ipv4);
  router.hellosIn(6);
  size_t hellos = 0;
  for (uint32_t n = 0; n < 3000; ++n) {
    router.hear(20, {.generationId = n});
    hellos += router.hellosIn(0.01);
  }
  EXPECT_LT(hellos, 25u) << "in half a minute";
}

TEST(HelloNeighborsTest, addressListsTellOursAndTheNeighbors) {
  Router router(ipv6);
  const auto addressIs = [&](const Pax::IpGenAddr &address, bool isUsable) {
    router.intf->addressIs(address, {Pax::IpGenPrefix(address, 64), false, !address.isLinkLocal(), isUsable});
  };
  addressIs(ipv6.host(1), true);
  addressIs(ipv6.host(2), false);
  router.hellosIn(6);
  EXPECT_EQ(router.hello(0).addressList, std::vector{ipv6.host(1)});
  addressIs(ipv6.host(3), true);
  EXPECT_EQ(router.hellosIn(0.1), 1u) << "a change is told";
  EXPECT_EQ(router.hello(1).addressList, (std::vector{ipv6.host(1), ipv6.host(3)}));
  addressIs(ipv6.host(4), false);
  EXPECT_EQ(router.hellosIn(0.1), 0u) << "one that is not";
  addressIs(ipv6.onLink(11), true);
  EXPECT_EQ(router.hellosIn(0.1), 1u);
  EXPECT_EQ(router.hello(2).addressList, (std::vector{ipv6.host(1), ipv6.host(3), ipv6.onLink(11)}));

  const Pax::IpGenAddr routable = ipv6.host(5), linkLocal = ipv6.onLink(6), none;
  const auto owner = [&](const Pax::IpGenAddr &address) {
    Pax::IpGenAddr primary;
    router.pimIntf()->neighborOwning(address, primary);
    return primary;
  };
  router.hear(20, {.list = {routable, linkLocal}});
  router.hear(21, {.list = {linkLocal}});
  EXPECT_EQ(owner(routable), ipv6.onLink(20));
  EXPECT_EQ(owner(linkLocal), ipv6.onLink(20)) << "the first claim holds";
  router.hear(20, {.list = {routable}});
  EXPECT_EQ(owner(linkLocal), none);
  router.hear(21, {.list = {linkLocal, ipv6.onLink(21), ipv6.onLink(10)}});
  EXPECT_EQ(owner(linkLocal), ipv6.onLink(21));
  EXPECT_EQ(router.neighbor(21)->secondary().size(), 1u) << "neither its own nor ours";
  std::vector<Pax::IpGenAddr> many;
  for (uint32_t n = 0; n < 300; ++n) many.push_back(ipv6.host(1000 + n));
  router.hear(21, {.list = many});
  EXPECT_EQ(router.neighbor(21)->secondary().size(), HelloSpeaker::secondaryMost);
  EXPECT_EQ(owner(linkLocal), none);
}

TEST(HelloNeighborsTest, aThirdRouterTakesNothingOverByItsListAndAReturningOneGetsItsOwn) {
  for (const Addresses &a : {ipv4, ipv6}) {
    Router router(a);
    const PimRpfTable table(router.routes, router.status);
    const Pax::IpGenAddr bsr = a.host(1), nextHop = a.host(5), primary = a.onLink(20), none;
    router.routes->answer[bsr] = {Routing::RouteAnswer::Kind::connected, {{router.eth1, none}}};
    router.routes->answer[a.host(2)] = {Routing::RouteAnswer::Kind::via, {{router.eth1, nextHop}}};
    router.routes->answer[a.host(3)] = {Routing::RouteAnswer::Kind::via, {{router.eth1, primary}}};
    const auto ways = [&] {
      std::vector<Pax::IpGenAddr> ways;
      for (uint32_t n = 1; n <= 3; ++n) ways.push_back(table.doLookup(a.host(n), {}).neighbor);
      return ways;
    };
    const std::vector all{bsr, nextHop, primary};
    const Tracelet::CaptureSink traces(1);
    router.hear(20, {.list = {bsr, nextHop}});
    router.hear(66, {.list = all});
    EXPECT_EQ(ways(), std::vector(3, primary));
    EXPECT_EQ(traces.count("not taken over, nor are 2 others"), 1u);
    router.hear(66, {.holdTime = 0});

    // It dies, and comes back with another of its addresses.
    router.hellosIn(100);
    router.hear(21, {.list = all});
    EXPECT_EQ(ways(), std::vector(3, primary)) << "until that expires";
    router.hellosIn(10);
    router.hear(21, {.list = all});
    EXPECT_EQ(ways(), std::vector(3, a.onLink(21)));

    // Who sends from an address has it.
    router.hear(20);
    EXPECT_EQ(ways(), (std::vector{a.onLink(21), a.onLink(21), primary}));
    EXPECT_FALSE(router.neighbor(21)->secondary(primary));
    router.hear(21, {.list = all});
    EXPECT_EQ(ways(), (std::vector{a.onLink(21), a.onLink(21), primary}));
  }
}

}  // namespace
}  // namespace Test
