#include "daemon/VrfHost.h"

#include "agent/Agent.h"
#include "tests/linux/Netns.h"

namespace Routing::Pim::Bsr {
namespace {

class VrfHostTest : public ::Test::NetnsTest {
 protected:
  void SetUp() override {
    NetnsTest::SetUp();
    if (!IsSkipped()) agent.doInit();
  }
  VrfHost::Process process() {
    return {loop, watcher, monitors, Kiv::make<Orb::TimerWheel>(loop, loop), random, system};
  }
  bool isPimOn(const VrfHost &host, const Pax::IntfId &intfId) const {
    return agent.containerSm("red") && host.platform() && host.platform()->pimStatus()->pimIntf(intfId);
  }

  Linux::NamespaceWatcher watcher{loop};
  Linux::NetlinkMonitors monitors{loop, Pax::AddressFamily::ipv4};
  Orb::Random random{1};
  Statehub::Store store;
  SystemState system{store, Pax::AddressFamily::ipv4};
  Agent4 agent{{store, loop, loop, random}};
};

TEST_F(VrfHostTest, AReloadMovesPimToOtherInterfaces) {
  const Pax::IntfId eth7{"red", "eth7"}, eth8{"red", "eth8"};
  netns("a");
  ip("a",
     "link add eth7 type veth peer name eth8\nlink set eth7 up\nlink set eth8 up\n"
     "addr add 10.78.0.1/24 dev eth7\naddr add 10.78.1.1/24 dev eth8");
  VrfHost host(process(), "red", {nameOf("a"), "", {eth7}});
  ASSERT_TRUE(waitFor([&] { return isPimOn(host, eth7); }));
  const ContainerSm *const before = agent.containerSm("red");
  host.pimIs({nameOf("a"), "", {eth8}});
  EXPECT_TRUE(waitFor([&] { return isPimOn(host, eth8) && !isPimOn(host, eth7); }));
  EXPECT_EQ(agent.containerSm("red"), before);
}

TEST_F(VrfHostTest, AVrfWhoseNamespaceIsDeletedClosesEverythingThereAndWaitsForAnother) {
  const Pax::IntfId a0("red", "a0");
  const auto make = [&] {
    netns("a");
    link("a", "a0", "b", "b0");
    ip("a", "addr add 10.1.0.1/24 dev a0");
  };
  netns("b");
  make();
  const auto b = monitors.monitor(nameOf("b"));
  VrfHost host(process(), "red", {nameOf("a"), "", {a0}});
  ASSERT_TRUE(waitFor([&] { return isPimOn(host, a0) && b->link("b0"); }));
  const auto port = host.platform()->port();
  netnsDel("a");
  EXPECT_TRUE(waitFor([&] { return !host.platform(); }));
  EXPECT_FALSE(agent.containerSm("red"));
  EXPECT_EQ(host.reason(), "namespace " + nameOf("a"));
  EXPECT_FALSE(port->send(a0, Packet::HelloMessage()));
  // The other end of the link goes only when the kernel frees the namespace: nothing holds it any more.
  EXPECT_TRUE(waitFor([&] { return !b->link("b0"); }));
  make();
  EXPECT_TRUE(waitFor([&] { return isPimOn(host, a0); }));
}

TEST_F(VrfHostTest, WhatWasLearnedElsewhereIsForgotten) {
  const Pax::IpGenPrefix zone = Pax::allGroups(Pax::AddressFamily::ipv4);
  netns("a");
  netns("b");
  for (const bool moves : {false, true}) {
    VrfHost host(process(), "red", {nameOf(moves ? "b" : "a"), "", {}});
    system.vrfIs("red", Linux::namespacePath(nameOf("a")));  // as it was saved
    system.statusColl->vrfStatus("red")->bootstrapRouterIs(zone)->expiryTimeIs(loop.now() + 3600);
    ASSERT_TRUE(waitFor([&] { return agent.containerSm("red") != nullptr; }));
    EXPECT_EQ(system.statusColl->vrfStatus("red")->bootstrapRouter(zone) == nullptr, moves);
  }
}

TEST_F(VrfHostTest, AVrfWithoutNamespaceOrDeviceIsTheNamespaceOrTheDeviceOfItsName) {
  const std::string name = nameOf("a");
  VrfHost host(process(), name, {});
  EXPECT_TRUE(waitFor([&] { return host.reason() == "namespace " + name + " or VRF device " + name; }))
      << host.reason();
  netns("a");
  EXPECT_TRUE(waitFor([&] { return agent.containerSm(name); }));
  EXPECT_EQ(system.allVrfStatusLocal->vrfStatus(name)->namespaceName(), name);
}

}  // namespace
}  // namespace Routing::Pim::Bsr
