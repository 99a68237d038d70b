#include "daemon/VrfHost.h"

#include "agent/Agent.h"

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
  Statehub::Store store;
  SystemState system{store, Pax::AddressFamily::ipv4};
  Agent4 agent{{store, loop, loop, random}};
  const VrfHost::Process process{loop, watcher, wheel, random, system};
  const ContainerSm *running() { return agent.containerSm("red"); }
  void SetUp() override {
    NetnsTest::SetUp();
    agent.doInit();
  }
};

TEST_F(VrfHostTest, RunsWhileItsNamespaceIsThereAndKeepsItsStatus) {
  VrfHost host(process, "red", {nameOf("a"), {eth7}});
  EXPECT_EQ(host.reason(), "namespace " + nameOf("a"));
  makeNamespace();
  ASSERT_TRUE(waitFor([&] { return running() && isPimOn(host, eth7); }));
  EXPECT_EQ(host.reason(), "");
  const auto counters = system.statusColl->vrfStatus("red")->counters();
  ASSERT_TRUE(counters);

  netnsDel("a");
  ASSERT_TRUE(waitFor([&] { return !running() && !host.platform(); }));
  EXPECT_EQ(host.reason(), "namespace " + nameOf("a"));
  makeNamespace();
  ASSERT_TRUE(waitFor([&] { return running() && isPimOn(host, eth7); }));
  EXPECT_EQ(system.statusColl->vrfStatus("red")->counters(), counters);
}

TEST_F(VrfHostTest, AReloadMovesPimToOtherInterfacesAndToAnotherNamespace) {
  makeNamespace();
  VrfHost host(process, "red", {nameOf("a"), {eth7}});
  ASSERT_TRUE(waitFor([&] { return running() && isPimOn(host, eth7); }));
  const ContainerSm *const before = running();
  host.pimIs({nameOf("a"), {eth8}});
  EXPECT_TRUE(waitFor([&] { return isPimOn(host, eth8) && !isPimOn(host, eth7); }));
  EXPECT_EQ(running(), before);

  host.pimIs({nameOf("b"), {eth8}});
  EXPECT_FALSE(running());
  EXPECT_EQ(host.reason(), "namespace " + nameOf("b"));
}

}  // namespace
}  // namespace Routing::Pim::Bsr
