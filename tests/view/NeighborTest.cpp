// What is told of the neighbors on a link.
#include <gtest/gtest.h>

#include "tests/support/ToldVrf.h"

namespace Test {
namespace {

class Neighbors : public testing::Test {
 protected:
  Neighbors() { link->neighbor(stays)->expiresIs(Orb::never); }

  void come(const Pax::IpGenAddr &address) const { link->neighborIs(address)->expiresIs(vrf.time.now() + 105); }

  ToldVrf vrf{ipv4};
  const Pax::IntfId eth1 = vrf.eth1;
  const Kiv::Ptr<Pim::PimIntf> link = vrf.pimStatus->pimIntf(eth1);
  const Pax::IpGenAddr stays = vrf.neighbor(1), goes = Pax::IpGenAddr::fromText("10.1.1.9");
};

TEST_F(Neighbors, LeaveForAReasonThatIsTold) {
  const auto gone = [&](const auto &how) {
    come(goes);
    EXPECT_EQ(vrf.told(), "Neighbor 10.1.1.9 on eth1 came\n");
    how();
    link->neighborDel(goes);
    return vrf.told().substr(std::string("Neighbor 10.1.1.9 on eth1 ").size());
  };
  EXPECT_EQ(gone([&] { link->neighbor(goes)->saidGoodbyeIs(true); }), "left: it said goodbye\n");
  EXPECT_EQ(gone([&] { vrf.advance(105); }), "left: it was silent\n");
  EXPECT_EQ(gone([] {}), "left: the limit of 256 neighbors is reached, and it made room for another\n");
  const std::string address = Bsr::sentence(link->address());
  come(goes);
  vrf.told();
  link->addressIs(goes);
  link->mtuIs(1400);
  link->neighborDel(goes);
  EXPECT_EQ(vrf.told(), "PIM at eth1 has address 10.1.1.9, where it had address " + address +
                            "\nPIM at eth1 has MTU 1400, where it had MTU 1500\nNeighbor 10.1.1.9 on eth1 left: its "
                            "address is now this router's\n");
}

TEST_F(Neighbors, OfOneTurnAreNotToldButThoseOfAnInterfaceThatIsConfiguredAnewAre) {
  come(goes);
  link->neighborDel(goes);
  EXPECT_EQ(vrf.told(), "");
  for (const auto &configured : {std::vector<Pax::IntfId>(), std::vector{eth1}}) {
    vrf.pimInterfaces = configured;
    vrf.reporter.handleConfig();
  }
  EXPECT_EQ(vrf.told(),
            Bsr::sentence("PIM is on at eth1 with address ", link->address(), "\nNeighbor ", stays, " on eth1 came\n"));
}

TEST_F(Neighbors, ThatGoWithAnInterfaceThatIsBackAtOnceAreTold) {
  EXPECT_EQ(vrf.told(), "");
  vrf.pimStatus->pimIntfDel(eth1);
  vrf.intfIs(1);
  EXPECT_EQ(vrf.told(), "") << "the neighbor is back, too";
  vrf.pimStatus->pimIntfDel(eth1);
  const auto back = vrf.pimStatus->pimIntfIs(eth1);
  back->addressIs(vrf.a.onLink(1));
  back->mtuIs(1500);
  EXPECT_EQ(vrf.told(), Bsr::sentence("Neighbor ", stays, " on eth1 left: PIM was off there for a moment\n"));
}

TEST_F(Neighbors, ChangeTheirPriorityOrAddresses) {
  come(goes);
  link->neighbor(goes)->hasDrPriorityIs(true);
  for (uint32_t n = 1; n <= 2; ++n) link->neighbor(goes)->secondaryIs(vrf.a.host(n));
  EXPECT_EQ(vrf.told(), "Neighbor 10.1.1.9 on eth1 came\n");
  link->neighbor(goes)->drPriorityIs(7);
  EXPECT_EQ(vrf.told(), "Neighbor 10.1.1.9 on eth1 has DR priority 7, where it had DR priority 1\n");
  EXPECT_EQ(vrf.log.events().back().severity, Bsr::Severity::info);
  link->neighbor(goes)->hasDrPriorityIs(false);
  for (uint32_t n = 3; n <= 6; ++n) link->neighbor(goes)->secondaryIs(vrf.a.host(n));
  EXPECT_EQ(vrf.told(),
            "Neighbor 10.1.1.9 on eth1 has no DR priority, where it had DR priority 7\n"
            "Neighbor 10.1.1.9 on eth1 has the other addresses 10.0.0.1, 10.0.0.2, 10.0.0.3, 10.0.0.4 and 2 more, "
            "where it had the other addresses 10.0.0.1, 10.0.0.2\n");
}

}  // namespace
}  // namespace Test
