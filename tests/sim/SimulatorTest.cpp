// The simulator itself: links, routes, neighbors, repetition by seed.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "platform/sim/Network.h"

namespace Sim {
namespace {

using Routing::RouteAnswer;
using Routing::Pim::IO::MessageConsumer;

// Two or more routers on a LAN, with bootstrap messages of a chosen size from the first.
class Lan : public MessageConsumer {
 public:
  explicit Lan(const LinkParameters &parameters, uint64_t seed = 1, int routers = 3,
               Pax::AddressFamily family = Pax::AddressFamily::ipv4)
      : network(family, seed), link(network.linkIs("lan", parameters)) {
    for (int i = 0; i < routers; ++i) {
      Router &router = network.router("r" + std::to_string(i));
      router.join(link);
      router.pimStart();
      if (i > 0) router.port()->consumerIs(Routing::Pim::Packet::MessageType::bootstrap, this);
    }
    network.time().runFor(20);
  }
  // A message with so many groups without RPs; its tag is `tag`.
  bool send(uint16_t tag, uint32_t groups = 1) {
    const auto bsm = Routing::Pim::Packet::BootstrapMessageIs();
    bsm->fragmentTagIs(tag);
    bsm->bsrAddressIs(network.router("r0").address());
    for (uint32_t i = 0; i < groups; ++i) {
      const auto base = network.af() == Pax::AddressFamily::ipv4 ? Pax::IpGenAddr::v4(0xe1000000 + (i << 8))
                                                                 : Pax::IpGenAddr::v6(0xff3e000000000000 + i, 0);
      bsm->optionalData()->groupDataEnq(Routing::Pim::Packet::BootstrapGroupDataIs({base, 24}));
      if (network.af() == Pax::AddressFamily::ipv6) bsm->groupData().back()->prefixIs({base, 64});
    }
    return network.router("r0").port()->send(network.router("r0").intfAt(link).intfId(), *bsm);
  }
  void messageIs(const Pax::IntfId &, const Kiv::Ptr<Routing::Pim::Packet::Message> &message) override {
    times.push_back(network.time().now());
    tags.push_back(static_cast<const Routing::Pim::Packet::BootstrapMessage &>(*message).fragmentTag());
  }

  Network network;
  Link &link;
  std::vector<double> times;
  std::vector<uint16_t> tags;
};

TEST(Link, ReachesEveryOtherMemberAfterTheDelayUnlessItIsCut) {
  Lan lan({.delay = 1});
  const double sent = lan.network.time().now();
  EXPECT_TRUE(lan.send(1));
  EXPECT_TRUE(lan.tags.empty());  // never inside the sending call
  lan.network.time().runFor(5);
  EXPECT_EQ(lan.times, std::vector<double>(2, sent + 1));
  lan.send(2);
  lan.network.time().runFor(0.5);
  lan.link.cut();
  lan.send(3);
  lan.network.time().runFor(5);
  EXPECT_EQ(lan.tags, (std::vector<uint16_t>{1, 1})) << "what was under way is lost";
}

TEST(Link, OnlyPacketsWithinTheMtuPass) {
  // IPv4: 34 bytes and 12 a group; IPv6: 66 and 24.
  struct Case {
    Pax::AddressFamily family;
    uint32_t mtu, groups;
    bool passes;
  };
  for (const Case &c : {Case{Pax::AddressFamily::ipv4, 34 + 12 * 45, 45, true},
                        Case{Pax::AddressFamily::ipv4, 34 + 12 * 45 - 1, 45, false},
                        Case{Pax::AddressFamily::ipv6, 66 + 24 * 60, 60, true},
                        Case{Pax::AddressFamily::ipv6, 66 + 24 * 60 - 1, 60, false}}) {
    Lan lan({.mtu = c.mtu}, 1, 2, c.family);
    EXPECT_EQ(lan.send(1, c.groups), c.passes);
    lan.network.time().runFor(1);
    EXPECT_EQ(lan.tags.size(), c.passes ? 1u : 0u) << c.mtu;
    EXPECT_EQ(lan.link.counters().tooBig, c.passes ? 0u : 1u);
  }
}

TEST(Link, LosesItsShareAndReordersOnlyWithJitter) {
  for (const double jitter : {0.0, 0.1}) {
    Lan lan({.jitter = jitter, .loss = 0.1}, 5, 2);
    for (uint16_t tag = 0; tag < 2000; ++tag) {
      lan.send(tag);
      lan.network.time().runFor(0.01);
    }
    EXPECT_NEAR(double(lan.tags.size()), 1800, 60);
    EXPECT_EQ(std::is_sorted(lan.tags.begin(), lan.tags.end()), jitter == 0);
  }
}

// The next hops as "router@link" in order, or the kind of answer.
std::string route(Network &network, const std::string &from, const Pax::IpGenAddr &destination) {
  const RouteAnswer answer = network.router(from).routes()->lookup(destination);
  if (answer.kind == RouteAnswer::Kind::none) return "none";
  if (answer.kind == RouteAnswer::Kind::local) return "local";
  std::string text;
  for (const Routing::NextHop &nextHop : answer.via) {
    const Link &link = network.router(from).intf(nextHop.intfId)->link();
    if (!text.empty()) text += ' ';
    text += answer.kind == RouteAnswer::Kind::connected
                ? "connected@" + link.name()
                : link.memberWith(nextHop.address)->router().name() + "@" + link.name();
  }
  return text;
}

TEST(Routes, FollowTheShortestPathsThroughCutsAndPowerFailures) {
  for (const auto family : {Pax::AddressFamily::ipv4, Pax::AddressFamily::ipv6}) {
    Network network(family, 1);
    // a - b - d and a - c - d, then d - e
    for (const char *ends : {"ab", "ac", "bd", "cd", "de"}) {
      network.linkIs(ends, {std::string(1, ends[0]), std::string(1, ends[1])});
    }
    const Pax::IpGenAddr e = network.router("e").address();
    const Pax::IpGenAddr eOnLink = network.router("e").intfAt(network.link("de")).address();
    EXPECT_EQ(route(network, "e", e), "local");
    EXPECT_EQ(route(network, "d", e), "e@de");
    EXPECT_EQ(route(network, "d", eOnLink), "connected@de");
    EXPECT_EQ(route(network, "a", e), "b@ab c@ac");
    EXPECT_EQ(route(network, "a", eOnLink), "b@ab c@ac");
    network.link("bd").cut();
    EXPECT_EQ(route(network, "a", network.router("d").intfAt(network.link("bd")).address()), "c@ac");
    EXPECT_EQ(route(network, "a", e), "c@ac");
    EXPECT_EQ(route(network, "b", e), "a@ab");
    network.router("c").powerIs(false);
    EXPECT_EQ(route(network, "a", e), "none");
    network.link("bd").heal();
    EXPECT_EQ(route(network, "a", e), "b@ab");
    network.router("a").intfAt(network.link("ab")).upIs(false);
    EXPECT_EQ(route(network, "a", e), "none");
    EXPECT_EQ(route(network, "b", e), "d@bd");
  }
}

TEST(Routes, FollowCostsAndLeadToTheNearestOfThoseWithTheAddress) {
  Network network(Pax::AddressFamily::ipv4, 1);
  // a - b - d, and a - c - d at a higher cost
  for (const char *ends : {"ab", "bd", "cd"}) network.linkIs(ends, {std::string(1, ends[0]), std::string(1, ends[1])});
  Link &ac = network.linkIs("ac", {"a", "c"}, {.cost = 3});
  const Pax::IpGenAddr d = network.router("d").address();
  EXPECT_EQ(route(network, "a", d), "b@ab");
  ac.parametersIs({.cost = 1});
  EXPECT_EQ(route(network, "a", d), "b@ab c@ac");
  ac.parametersIs({.cost = 3});
  network.link("ab").cut();
  EXPECT_EQ(route(network, "a", d), "c@ac") << "at whatever cost";

  const Pax::IpGenAddr anycast = Pax::IpGenAddr::fromText("10.99.0.1");
  network.router("b").addressIs(anycast);
  network.router("d").stubIs("dummy0");
  network.router("d").addressIs(anycast, "dummy0");
  EXPECT_EQ(route(network, "c", anycast), "d@cd");
  network.router("d").stubUpIs("dummy0", false);
  EXPECT_EQ(route(network, "c", anycast), "d@cd") << "on the way to b";
  EXPECT_EQ(route(network, "d", anycast), "b@bd");
  network.router("b").addressDel(anycast);
  EXPECT_EQ(route(network, "c", anycast), "none");
}

TEST(Routes, LeadToTheSubnetsOfWhateverAddressesInterfacesHave) {
  Network network(Pax::AddressFamily::ipv4, 1);
  const auto address = [](const char *text, uint8_t length) {
    return IntfAddress{Pax::IpGenAddr::fromText(text), {Pax::IpGenAddr::fromText(text), length}};
  };
  Link &far = network.linkIs("far", LinkParameters());
  network.linkIs("near", {"a", "b"});
  Intf &ge = network.router("b").join(far, {"ge0", {address("172.16.0.1", 30), address("172.17.0.1", 16)}});
  network.router("c").join(far, {"ge7", {address("172.16.0.2", 30)}});
  EXPECT_EQ(route(network, "b", Pax::IpGenAddr::fromText("172.16.0.2")), "connected@far");
  EXPECT_EQ(route(network, "a", Pax::IpGenAddr::fromText("172.17.9.9")), "b@near");
  EXPECT_EQ(route(network, "c", network.router("a").address()), "b@far");
  EXPECT_EQ(ge.nextHopAddress(), Pax::IpGenAddr::fromText("172.16.0.1"));
  ge.addressDel(ge.nextHopAddress());
  EXPECT_EQ(ge.nextHopAddress(), Pax::IpGenAddr::fromText("172.17.0.1"));
  EXPECT_EQ(ge.status()->pimAddr(), Pax::IpGenAddr::fromText("172.17.0.1"));
}

// Every byte that crossed the link, with its time.
std::string record(uint64_t seed) {
  Network network(Pax::AddressFamily::ipv4, seed);
  Link &link = network.linkIs("lan", {"a", "b", "c"}, {.jitter = 0.01, .loss = 0.2});
  std::ostringstream record;
  link.tapIs([&](const Packet &packet) {
    record << network.time().now() << ' ' << packet.source << ' ';
    for (const uint8_t byte : packet.payload) record << int(byte) << ' ';
  });
  for (const auto &router : network.routers()) router->pimStart();
  network.time().runFor(600);
  record << link.counters().lost;
  return record.str();
}

TEST(Network, RepeatsExactlyBySeedAndDiffersOtherwise) {
  const std::string once = record(1);
  EXPECT_GT(once.size(), 1000u);
  EXPECT_EQ(once, record(1));
  EXPECT_NE(once, record(2));
}

}  // namespace
}  // namespace Sim
