#include "daemon/VrfHost.h"

#include "tests/linux/Netns.h"

namespace Routing::Pim::Bsr {
namespace {

class VrfHostTest : public ::Test::NetnsTest {
 protected:
  /// The namespace "a" with PIM addresses on eth7 and eth8.
  void makeNamespace() {
    netns("a");
    ip("a",
       "link add eth7 type veth peer name eth8\nlink set eth7 up\nlink set eth8 up\n"
       "addr add 10.78.0.1/24 dev eth7\naddr add 10.78.1.1/24 dev eth8");
  }
  bool isPimOn(const VrfHost &host, const Pax::IntfId &intfId) {
    return host.platform() && host.platform()->pimStatus()->pimIntf(intfId);
  }

  const Pax::IntfId eth7{"red", "eth7"};
  const Pax::IntfId eth8{"red", "eth8"};
  Linux::NamespaceWatcher watcher{loop};
  Orb::Random random{1};
  const Kiv::Ptr<Orb::TimerWheel> wheel = Kiv::make<Orb::TimerWheel>(loop, loop);
  const VrfHost::Entities entities{Kiv::make<Config>(), Kiv::make<ClearConfig>(), Kiv::make<Status>(L3::VrfName("red")),
                                   Kiv::make<Acl::Input::Config>()};
};

TEST_F(VrfHostTest, RunsWhileItsNamespaceIsThereAndKeepsItsStatus) {
  VrfHost host({loop, watcher, wheel, random, Pax::AddressFamily::ipv4}, "red", {nameOf("a"), {eth7}}, entities);
  EXPECT_EQ(host.reason(), "namespace " + nameOf("a"));
  makeNamespace();
  ASSERT_TRUE(waitFor([&] { return host.containerSm() && isPimOn(host, eth7); }));
  EXPECT_EQ(host.reason(), "");
  const auto counters = entities.status->counters();
  ASSERT_TRUE(counters);

  netnsDel("a");
  ASSERT_TRUE(waitFor([&] { return !host.containerSm() && !host.platform(); }));
  EXPECT_EQ(host.reason(), "namespace " + nameOf("a"));
  makeNamespace();
  ASSERT_TRUE(waitFor([&] { return host.containerSm() && isPimOn(host, eth7); }));
  EXPECT_EQ(entities.status->counters(), counters);
}

TEST_F(VrfHostTest, AReloadMovesPimToOtherInterfacesAndToAnotherNamespace) {
  makeNamespace();
  VrfHost host({loop, watcher, wheel, random, Pax::AddressFamily::ipv4}, "red", {nameOf("a"), {eth7}}, entities);
  ASSERT_TRUE(waitFor([&] { return host.containerSm() && isPimOn(host, eth7); }));
  const ContainerSm *const running = host.containerSm();
  host.pimIs({nameOf("a"), {eth8}});
  EXPECT_TRUE(waitFor([&] { return isPimOn(host, eth8) && !isPimOn(host, eth7); }));
  EXPECT_EQ(host.containerSm(), running);

  host.pimIs({nameOf("b"), {eth8}});
  EXPECT_FALSE(host.containerSm());
  EXPECT_EQ(host.reason(), "namespace " + nameOf("b"));
}

}  // namespace
}  // namespace Routing::Pim::Bsr
