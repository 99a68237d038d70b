#include "platform/pim/PimRpfTable.h"

#include <gtest/gtest.h>

#include "platform/tracelet/Sinks.h"
#include "tests/support/Addresses.h"
#include "tests/support/WirePort.h"

namespace Test {
namespace {

using Kind = Routing::RouteAnswer::Kind;
using Routing::NextHop;

TEST(PimRpfTableTest, aMessageComesFromTheNeighborThatOwnsTheWayBack) {
  for (const Addresses &a : {ipv4, ipv6}) {
    const Addresses &other = a.ipv4() ? ipv6 : ipv4;
    const Pax::IntfId eth0("default", "eth0"), eth1("default", "eth1"), eth2("default", "eth2"), off("default", "eth3");
    const auto status = Kiv::make<Routing::Pim::Status>("default");
    const auto left = status->pimIntfIs(eth1)->neighborIs(a.onLink(11));
    left->secondaryIs(a.host(11));
    left->secondaryIs(a.onLink(12));  // claims the primary of another
    status->pimIntfIs(eth1)->neighborIs(a.onLink(12));
    status->pimIntfIs(eth0)->neighborIs(a.onLink(5));
    status->pimIntfIs(eth2)->neighborIs(a.onLink(21));
    const auto routes = Kiv::make<FakeRoutes>();
    const Routing::Pim::PimRpfTable table(routes, status);

    const Pax::IpGenAddr none, far = a.host(99);
    const auto on = [&](uint32_t n) { return a.onLink(n); };
    const struct {
      const char *what;
      Kind kind;
      std::vector<NextHop> via;
      Pax::IpGenAddr asked, neighbor;
      Pax::IntfId intfId;
    } cases[] = {
        {"unrouted", Kind::none, {}, far, none, {}},
        {"our own", Kind::local, {{eth1, none}}, a.host(11), none, {}},
        {"connected primary", Kind::connected, {{eth1, none}}, on(11), on(11), eth1},
        {"connected secondary", Kind::connected, {{eth1, none}}, a.host(11), on(11), eth1},
        {"a neighbor of another link", Kind::connected, {{eth2, none}}, on(11), none, {}},
        {"next hop primary", Kind::via, {{eth2, on(21)}}, far, on(21), eth2},
        {"next hop secondary", Kind::via, {{eth1, a.host(11)}}, far, on(11), eth1},
        {"primary before a claim", Kind::via, {{eth1, on(12)}}, far, on(12), eth1},
        {"next hop stranger", Kind::via, {{eth1, a.host(98)}}, far, none, {}},
        {"interface alone", Kind::via, {{eth2, none}}, far, on(21), eth2},
        {"ambiguous interface", Kind::via, {{eth1, none}}, far, none, {}},
        {"interface of the BSR alone", Kind::via, {{eth1, none}}, a.host(11), on(11), eth1},
        {"other family", Kind::via, {{eth2, other.onLink(11)}}, far, on(21), eth2},
        {"ambiguous next hop", Kind::via, {{eth1, other.onLink(11)}}, a.host(11), none, {}},
        {"where PIM is off", Kind::via, {{off, on(11)}}, far, none, {}},
        {"equal paths, lowest", Kind::via, {{eth2, on(21)}, {eth1, on(12)}}, far, on(12), eth1},
        {"lowest neighbor", Kind::via, {{eth1, on(1)}, {eth2, on(21)}, {off, on(2)}}, far, on(21), eth2},
        {"equal paths, interface higher", Kind::via, {{eth2, none}, {eth1, on(12)}}, far, on(12), eth1},
        {"equal paths, interface lower", Kind::via, {{eth1, on(12)}, {eth0, none}}, far, on(5), eth0},
    };
    for (const auto &c : cases) {
      routes->answer[c.asked] = {c.kind, c.via};
      const Tracelet::CaptureSink traces(1);
      const auto info = table.doLookup(c.asked, {});
      EXPECT_EQ(info.neighbor, c.neighbor) << c.what;
      EXPECT_EQ(info.intfId, c.intfId) << c.what;
      EXPECT_EQ(traces.count("where 2 PIM neighbors are"), std::string(c.what).starts_with("ambiguous") ? 1u : 0u);
    }
  }
}

}  // namespace
}  // namespace Test
