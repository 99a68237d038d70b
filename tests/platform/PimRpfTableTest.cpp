#include "platform/pim/PimRpfTable.h"

#include <gtest/gtest.h>

#include "tests/support/Addresses.h"
#include "tests/support/WirePort.h"

namespace Test {
namespace {

using Kind = Routing::RouteAnswer::Kind;
using Routing::NextHop;

TEST(PimRpfTableTest, aMessageComesFromTheNeighborThatOwnsTheWayBack) {
  for (const Addresses &a : {ipv4, ipv6}) {
    const Pax::IntfId eth1("default", "eth1"), eth2("default", "eth2"), off("default", "eth3");
    const auto status = Kiv::make<Routing::Pim::Status>("default");
    const auto left = status->pimIntfIs(eth1)->neighborIs(a.onLink(11));
    left->secondaryIs(a.host(11));
    left->secondaryIs(a.onLink(12));  // claims the primary of another
    status->pimIntfIs(eth1)->neighborIs(a.onLink(12));
    status->pimIntfIs(eth2)->neighborIs(a.onLink(21));
    const auto routes = Kiv::make<FakeRoutes>();
    const Routing::Pim::PimRpfTable table(routes, status);

    const Pax::IpGenAddr none;
    const struct {
      const char *what;
      Kind kind;
      std::vector<NextHop> via;
      Pax::IpGenAddr asked, neighbor;
      Pax::IntfId intfId;
    } cases[] = {
        {"unrouted", Kind::none, {}, a.host(99), none, {}},
        {"our own", Kind::local, {{eth1, none}}, a.host(11), none, {}},
        {"connected primary", Kind::connected, {{eth1, none}}, a.onLink(11), a.onLink(11), eth1},
        {"connected secondary", Kind::connected, {{eth1, none}}, a.host(11), a.onLink(11), eth1},
        {"connected stranger", Kind::connected, {{eth1, none}}, a.host(98), none, {}},
        {"a neighbor of another link", Kind::connected, {{eth2, none}}, a.onLink(11), none, {}},
        {"next hop primary", Kind::via, {{eth2, a.onLink(21)}}, a.host(99), a.onLink(21), eth2},
        {"next hop secondary", Kind::via, {{eth1, a.host(11)}}, a.host(99), a.onLink(11), eth1},
        {"primary before a claim", Kind::via, {{eth1, a.onLink(12)}}, a.host(99), a.onLink(12), eth1},
        {"next hop stranger", Kind::via, {{eth1, a.host(98)}}, a.host(99), none, {}},
        {"where PIM is off", Kind::via, {{off, a.onLink(11)}}, a.host(99), none, {}},
        {"equal paths, lowest",
         Kind::via,
         {{eth2, a.onLink(21)}, {eth1, a.onLink(12)}},
         a.host(99),
         a.onLink(12),
         eth1},
        {"equal paths, lowest that is a neighbor",
         Kind::via,
         {{eth1, a.onLink(1)}, {eth2, a.onLink(21)}, {off, a.onLink(2)}},
         a.host(99),
         a.onLink(21),
         eth2},
    };
    for (const auto &c : cases) {
      routes->answer[c.asked] = {c.kind, c.via};
      const auto info = table.doLookup(c.asked, {});
      EXPECT_EQ(info.neighbor, c.neighbor) << c.what;
      EXPECT_EQ(info.intfId, c.intfId) << c.what;
    }
  }
}

}  // namespace
}  // namespace Test
