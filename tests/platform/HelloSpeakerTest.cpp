#include "platform/pim/HelloSpeaker.h"

#include <gtest/gtest.h>

#include "tests/support/Addresses.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/ManualClock.h"
#include "tests/support/WirePort.h"

namespace Test {
namespace {

using namespace Routing::Pim;
using IO::HelloSpeaker;
using Packet::HelloMessage;

/// One router with one interface, eth1, onLink(10) there, and what its Hellos were and when.
class Router {
 public:
  explicit Router(const Addresses &addresses, const HelloSpeaker::Parameters &parameters = {}, bool isUp = true)
      : a(addresses), intf(interfaces->intfStatusIs(eth1)) {
    speaker = Kiv::make<HelloSpeaker>(status, interfaces, port, wheel, random, parameters);
    intf->mtuIs(1500);
    if (isUp) intf->upIs(true);
    addressIs(10);
    speaker->intfIs(eth1);
  }

  void addressIs(uint32_t n) {
    intf->addressDelAll();
    intf->addressIs(a.onLink(n), {Pax::IpGenPrefix(a.onLink(n), 24), false, a.ipv4(), true});
    intf->pimAddrIs(a.onLink(n));
  }
  void pass(double seconds) { time.advanceTo(time.now() + seconds); }
  Kiv::Ptr<PimIntf> pimIntf() const { return status->pimIntf(eth1); }
  Kiv::Ptr<PimNeighbor> neighbor(uint32_t n) const { return pimIntf()->neighbor(a.onLink(n)); }

  void hear(uint32_t from, uint16_t holdTime = 105, std::optional<uint32_t> generationId = 1,
            std::optional<uint32_t> drPriority = 1, std::vector<Pax::IpGenAddr> list = {}) {
    HelloMessage hello;
    hello.holdTimeIs(holdTime);
    hello.generationIdIs(generationId);
    hello.drPriorityIs(drPriority);
    hello.addressList = std::move(list);
    port->hear(eth1, a.onLink(from), hello);
  }
  const HelloMessage &hello(size_t index) const { return static_cast<HelloMessage &>(*port->sent.at(index).message); }
  size_t hellos() const { return port->sent.size(); }
  /// The Hellos of the next seconds.
  size_t hellosIn(double seconds) {
    const size_t before = hellos();
    pass(seconds);
    return hellos() - before;
  }

  const Addresses a;
  const Pax::IntfId eth1{"default", "eth1"};
  ManualTime time;
  Orb::Random random{7};
  Kiv::Ptr<Status> status = Kiv::make<Status>("default");
  Kiv::Ptr<Ip::AllIntfStatusDir> interfaces = Kiv::make<Ip::AllIntfStatusDir>();
  Kiv::Ptr<Ip::IntfStatus> intf;
  Kiv::Ptr<WirePort> port = Kiv::make<WirePort>(a.af, status, Kiv::make<FakeRoutes>());
  Kiv::Ptr<Orb::TimerWheel> wheel = Kiv::make<Orb::TimerWheel>(time, time);
  Kiv::Ptr<HelloSpeaker> speaker;
};

TEST(HelloSpeakerTest, theInterfaceStandsInStatusWhileConfiguredUpAndAddressed) {
  Router r(ipv4, {}, false);
  EXPECT_FALSE(r.pimIntf());
  r.intf->upIs(true);
  ASSERT_TRUE(r.pimIntf());
  r.pass(5);
  r.hear(20);
  const auto firstGenerationId = r.hello(0).generationId();

  const size_t beforeDown = r.hellos();
  r.intf->upIs(false);
  EXPECT_FALSE(r.pimIntf());
  EXPECT_EQ(r.hellosIn(100), 0u) << "nothing leaves a dead link";
  r.intf->upIs(true);
  EXPECT_TRUE(r.pimIntf()->neighbor().empty());
  r.hear(20);
  EXPECT_TRUE(r.neighbor(20));
  r.pass(5);
  EXPECT_NE(r.hello(beforeDown).generationId(), firstGenerationId) << "a start is a new generation";

  r.intf->pimAddrIs({});
  EXPECT_FALSE(r.pimIntf());
  EXPECT_EQ(r.hello(r.hellos() - 1).holdTime(), 0);
  r.intf->pimAddrIs(ipv4.onLink(11));
  EXPECT_EQ(r.pimIntf()->address(), ipv4.onLink(11));
  r.speaker->intfDel(r.eth1);
  EXPECT_FALSE(r.pimIntf());
  EXPECT_EQ(r.hello(r.hellos() - 1).holdTime(), 0);
  EXPECT_EQ(r.hellosIn(100), 0u);

  r.speaker->intfIs(r.eth1);
  r.interfaces->intfStatusDel(r.eth1);
  EXPECT_FALSE(r.pimIntf());
  const auto again = r.interfaces->intfStatusIs(r.eth1);
  again->pimAddrIs(ipv4.onLink(12));
  again->upIs(true);
  EXPECT_EQ(r.pimIntf()->address(), ipv4.onLink(12));
  r.speaker->shutDown();
  EXPECT_TRUE(r.status->pimIntf().empty());
  EXPECT_EQ(r.hello(r.hellos() - 1).holdTime(), 0);
}

TEST(HelloSpeakerTest, aNewOrRestartedNeighborGetsOneTriggeredHelloWhichIsCountedOnceSent) {
  Router r(ipv4);
  r.pass(6);
  const auto triggered = [&] { return r.pimIntf()->triggeredHelloSent(); };
  r.hear(20);
  r.hear(21);
  EXPECT_EQ(triggered(), 0u);
  EXPECT_EQ(r.hellosIn(5), 1u) << "one for both";
  EXPECT_EQ(triggered(), 1u);
  r.hear(20);
  EXPECT_EQ(r.hellosIn(5), 0u) << "known already";
  const double before = r.time.now();
  r.hear(20, 105, 2);
  EXPECT_EQ(r.neighbor(20)->generationId(), 2u);
  EXPECT_EQ(r.neighbor(20)->upTime(), before);
  EXPECT_EQ(r.hellosIn(5), 1u);
  EXPECT_EQ(triggered(), 2u);
  r.hear(20, 105, std::nullopt);
  r.port->broken = true;
  r.pass(5);
  EXPECT_EQ(triggered(), 2u) << "what was not sent does not count";
}

TEST(HelloSpeakerTest, aHelloGoesBeforeTheBootstrapMessageThatNeighborsWouldRefuse) {
  Router r(ipv4);
  const Kiv::Ptr<Packet::BootstrapMessage> bsm = Bsm(ipv4.host(9));
  const auto sentWith = [&] {
    const size_t before = r.hellos();
    r.port->send(r.eth1, *bsm);
    return r.hellos() - before;
  };
  EXPECT_EQ(sentWith(), 2u) << "nobody has heard of us";
  EXPECT_EQ(sentWith(), 1u);
  r.pass(6);
  r.hear(20);
  EXPECT_EQ(sentWith(), 2u) << "the new neighbor has not";
  EXPECT_EQ(sentWith(), 1u);
}

TEST(HelloSpeakerTest, neighborsLastAsLongAsTheySay) {
  Router r(ipv4);
  r.hear(20, 100);
  r.hear(21, HelloMessage::holdTimeForEver);
  r.hear(22, 10);
  r.hear(10);  // ourselves, looped back
  EXPECT_EQ(r.pimIntf()->neighbor().size(), 3u);
  r.hear(22, 0);
  r.hear(23, 0);
  EXPECT_EQ(r.pimIntf()->neighbor().size(), 2u);
  EXPECT_EQ(r.neighbor(20)->expires(), r.time.now() + 100);
  r.pass(60);
  r.hear(20, 100);
  r.pass(99);
  EXPECT_TRUE(r.neighbor(20));
  r.pass(2);
  EXPECT_FALSE(r.neighbor(20));
  r.pass(1e6);
  EXPECT_TRUE(r.neighbor(21));
}

TEST(HelloSpeakerTest, theDrHasTheHighestPriorityThenAddressAndPriorityOnlyIfAllSendIt) {
  using Priority = std::optional<uint32_t>;
  const struct {
    const char *what;
    uint32_t own;
    Priority low, high;  // of onLink(5) and onLink(20), around our onLink(10)
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
    for (const auto &c : cases) {
      Router r(a, {true, c.own});
      EXPECT_TRUE(r.pimIntf()->isDr());
      r.hear(5, 105, 1, c.low);
      r.hear(20, 105, 1, c.high);
      EXPECT_EQ(r.pimIntf()->dr(), a.onLink(c.dr)) << c.what;
      EXPECT_EQ(r.pimIntf()->isDr(), c.dr == 10) << c.what;
      r.hear(20, 0);
      r.hear(5, 0);
      EXPECT_TRUE(r.pimIntf()->isDr()) << c.what;
    }
  }
}

TEST(HelloSpeakerTest, aHelloGoesWithinFiveSecondsEveryThirtyAndForANewPrimaryAddress) {
  for (const Addresses &a : {ipv4, ipv6}) {
    Router r(a);
    EXPECT_EQ(r.hellos(), 0u);
    EXPECT_EQ(r.hellosIn(5), 1u);
    EXPECT_EQ(r.hello(0).drPriority(), 0u);
    EXPECT_EQ(r.port->sent[0].destination, Pax::allPimRouters(a.af));
    EXPECT_EQ(r.hellosIn(300), 10u);
    EXPECT_EQ(r.hello(10).generationId(), r.hello(0).generationId());
    r.hear(11);
    r.pass(6);
    const size_t before = r.hellos();
    r.addressIs(11);  // which was the neighbor's
    ASSERT_EQ(r.hellos(), before + 2);
    EXPECT_EQ(r.port->sent[before].source, a.onLink(10));
    EXPECT_EQ(r.hello(before).holdTime(), 0);
    EXPECT_EQ(r.port->sent[before + 1].source, a.onLink(11));
    EXPECT_EQ(r.hello(before + 1).holdTime(), 105);
    EXPECT_FALSE(r.neighbor(11));
    EXPECT_TRUE(r.pimIntf()->isDr());
  }
}

TEST(HelloSpeakerTest, addressListsTellOursAndTheNeighbors) {
  Router r(ipv6);
  const auto global = [](uint32_t n, bool isUsable) {
    return Ip::AddressInfo{Pax::IpGenPrefix(ipv6.host(n), 64), false, true, isUsable};
  };
  r.intf->addressIs(ipv6.host(1), global(1, true));
  r.intf->addressIs(ipv6.host(2), global(2, false));
  r.pass(6);
  EXPECT_EQ(r.hello(0).addressList, std::vector{ipv6.host(1)});
  r.intf->addressIs(ipv6.host(3), global(3, true));
  EXPECT_EQ(r.hellosIn(0.1), 1u) << "a change is told";
  EXPECT_EQ(r.hello(1).addressList, (std::vector{ipv6.host(1), ipv6.host(3)}));
  r.intf->addressIs(ipv6.host(4), global(4, false));
  EXPECT_EQ(r.hellosIn(0.1), 0u) << "one that is not";
  r.intf->addressIs(ipv6.onLink(11), {Pax::IpGenPrefix(ipv6.onLink(11), 64), false, false, true});
  EXPECT_EQ(r.hellosIn(0.1), 1u);
  EXPECT_EQ(r.hello(2).addressList, (std::vector{ipv6.host(1), ipv6.host(3), ipv6.onLink(11)}));

  const Pax::IpGenAddr routable = ipv6.host(5), linkLocal = ipv6.onLink(6), none;
  const auto owner = [&](const Pax::IpGenAddr &address) {
    Pax::IpGenAddr primary;
    r.pimIntf()->neighborOwning(address, primary);
    return primary;
  };
  r.hear(20, 105, 1, 1, {routable, linkLocal});
  r.hear(21, 105, 1, 1, {linkLocal});
  EXPECT_EQ(owner(routable), ipv6.onLink(20));
  EXPECT_EQ(owner(linkLocal), ipv6.onLink(21)) << "the last claim holds";
  r.hear(21, 0);
  EXPECT_EQ(owner(linkLocal), none);
  r.hear(20, 105, 1, 1, {linkLocal});
  EXPECT_EQ(owner(linkLocal), ipv6.onLink(20));
  EXPECT_EQ(owner(routable), none);
  r.hear(22, 105, 1, 1, {ipv6.onLink(20), linkLocal});
  EXPECT_EQ(owner(ipv6.onLink(20)), ipv6.onLink(22)) << "it died, and has another address now";
  EXPECT_FALSE(r.neighbor(20));
}

TEST(HelloSpeakerTest, aListenerSaysNothingAndTakesTheOtherDaemonsHelloAsSentAfterFiveSeconds) {
  Router r(ipv4, {false, 3});
  r.hear(20, 105, 1, 2);
  EXPECT_TRUE(r.pimIntf()->isDr());
  r.pass(4.9);
  EXPECT_EQ(r.pimIntf()->triggeredHelloSent(), 0u);
  r.pass(0.2);
  EXPECT_EQ(r.pimIntf()->triggeredHelloSent(), 1u);
  r.port->send(r.eth1, *Kiv::Ptr<Packet::BootstrapMessage>(Bsm(ipv4.host(9))));
  EXPECT_EQ(r.port->sent.size(), 1u) << "the Bootstrap message alone";
  r.pass(100);
  r.speaker->shutDown();
  EXPECT_EQ(r.port->sent.size(), 1u);
  EXPECT_EQ(r.port->counters().sendFailed, 0u);
}

TEST(HelloSpeakerTest, aFloodOfNeighborsEndsAtTheLimit) {
  Router r(ipv4);
  for (uint32_t n = 1000; n < 1400; ++n) r.hear(n, HelloMessage::holdTimeForEver);
  EXPECT_EQ(r.pimIntf()->neighbor().size(), HelloSpeaker::neighborsMost);
  EXPECT_TRUE(r.neighbor(1000));
  r.hear(1000, 0);
  r.hear(2000);
  EXPECT_TRUE(r.neighbor(2000)) << "there is room again";
}

}  // namespace
}  // namespace Test
