#include <set>

#include "tests/linux/Netns.h"
#include "tests/linux/Router.h"

namespace {

using Pax::AddressFamily;
using Kind = Routing::RouteAnswer::Kind;

class KernelRouteLookupTest : public Test::NetnsTest {
 protected:
  // Namespace "a" with a0 and b0 up, and the routes given.
  std::unique_ptr<::Test::Router> router(AddressFamily family, const std::string &addresses,
                                         const std::string &routes) {
    netns("a");
    ip("a", "link add a0 type veth peer name a1\nlink add b0 type veth peer name b1");
    ip("a", "link set a0 up\nlink set a1 up\nlink set b0 up\nlink set b1 up\n" + addresses);
    ip("a", routes);
    auto made = std::make_unique<::Test::Router>(loop, nameOf("a"), family);
    EXPECT_TRUE(waitFor([&] { return made->completed == 1; }));
    return made;
  }
};

// "connected" or "via" and the next hops, each as its interface and address.
std::string textOf(const Routing::RouteAnswer &answer) {
  if (answer.via.empty()) return answer.kind == Kind::local ? "local" : "none";
  std::multiset<std::string> hops;
  for (const Routing::NextHop &hop : answer.via) {
    const std::string address = hop.address.isZero() ? "" : " " + testing::PrintToString(hop.address);
    hops.insert(" " + std::string(hop.intfId.name()) + address);
  }
  std::string text = answer.kind == Kind::connected ? "connected" : "via";
  for (const std::string &hop : hops) text += hop;
  return text;
}

using Cases = std::vector<std::pair<const char *, const char *>>;  // destinations and answers

void expectAnswers(::Test::Router &router, const Cases &cases) {
  for (const auto &[destination, answer] : cases) {
    EXPECT_EQ(textOf(router.routes->lookup(Pax::IpGenAddr::fromText(destination))), answer) << destination;
  }
}

TEST_F(KernelRouteLookupTest, Ipv4AnswersAreThoseOfTheKernel) {
  const auto a =
      router(AddressFamily::ipv4,
             "addr add 10.1.0.1/24 dev a0\naddr add 10.2.0.1/24 dev b0\naddr add 10.9.9.9 peer 10.9.9.1 dev a0\n"
             "addr add 10.12.0.1/24 dev a0 noprefixroute",
             "route add 10.3.0.0/16 via 10.1.0.2\n"
             "route add 10.4.0.0/16 nexthop via 10.1.0.2 nexthop via 10.2.0.2\n"
             "route add 10.5.0.0/16 via inet6 fe80::5 dev b0\n"
             "route add 10.10.0.0/16 dev b0\nroute add 10.11.0.0/16 nexthop dev a0 nexthop via 10.2.0.2\n"
             "route add 10.12.0.0/24 dev a0\n"
             "nexthop add id 1 via 10.1.0.4 dev a0\nnexthop add id 2 via 10.2.0.4 dev b0\n"
             "nexthop add id 3 group 1/2\nroute add 10.6.0.0/16 nhid 3\n"
             "route add blackhole 10.7.0.0/16\nroute add unreachable 10.8.0.0/16\n"
             "route add 10.3.7.0/24 via 10.2.0.7 table 77\nrule add to 10.3.7.0/24 table 77");
  const Cases cases = {
      {"10.1.0.1", "local"},
      {"127.0.0.1", "local"},
      {"10.1.0.77", "connected a0"},
      {"10.9.9.1", "connected a0"},
      {"10.3.1.1", "via a0 10.1.0.2"},
      {"10.4.1.1", "via a0 10.1.0.2 b0 10.2.0.2"},
      {"10.5.1.1", "via b0 fe80::5"},
      {"10.10.1.1", "via b0"},
      {"10.11.1.1", "via a0 b0 10.2.0.2"},
      {"10.12.0.9", "connected a0"},
      {"10.6.1.1", "via a0 10.1.0.4 b0 10.2.0.4"},
      {"10.3.7.1", "via b0 10.2.0.7"},
      {"10.7.1.1", "none"},
      {"10.8.1.1", "none"},
      {"192.168.77.1", "none"},
      {"10.1.0.255", "none"},
      {"224.0.0.13", "none"},
      {"0.0.0.0", "none"},
  };
  expectAnswers(*a, cases);
}

TEST_F(KernelRouteLookupTest, Ipv6AnswersAreThoseOfTheKernel) {
  const auto a =
      router(AddressFamily::ipv6, "addr add 2001:db8:1::1/64 dev a0 nodad\naddr add 2001:db8:2::1/64 dev b0 nodad",
             "route add 2001:db8:3::/48 via fe80::9 dev a0\n"
             "route add 2001:db8:4::/48 nexthop via fe80::9 dev a0 nexthop via fe80::8 dev b0\n"
             "nexthop add id 1 via fe80::7 dev a0\nroute add 2001:db8:6::/48 nhid 1\nroute add 2001:db8:5::/48 dev b0\n"
             "route add blackhole 2001:db8:7::/48\nroute add unreachable 2001:db8:8::/48");
  const Cases cases = {
      {"2001:db8:1::1", "local"},
      {"::1", "local"},
      {"2001:db8:1::77", "connected a0"},
      {"2001:db8:3::1", "via a0 fe80::9"},
      {"2001:db8:4::1", "via a0 fe80::9 b0 fe80::8"},
      {"2001:db8:5::1", "via b0"},
      {"2001:db8:6::1", "via a0 fe80::7"},
      {"2001:db8:7::1", "none"},
      {"2001:db8:8::1", "none"},
      {"2001:db9::1", "none"},
      {"ff02::d", "none"},
  };
  // The kernel makes the route to an address of its own a little later than the address.
  EXPECT_TRUE(waitFor([&] { return textOf(a->routes->lookup(Pax::IpGenAddr::fromText("2001:db8:1::1"))) == "local"; }));
  expectAnswers(*a, cases);
}

}  // namespace
