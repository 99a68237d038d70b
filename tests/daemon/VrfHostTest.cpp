#include "daemon/VrfHost.h"

#include "agent/Agent.h"
#include "tests/linux/Netns.h"

namespace Routing::Pim::Bsr {
namespace {

using VrfHostTest = ::Test::NetnsTest;

TEST_F(VrfHostTest, AReloadMovesPimToOtherInterfacesAndToAnotherNamespace) {
  const Pax::IntfId eth7{"red", "eth7"}, eth8{"red", "eth8"};
  netns("a");
  ip("a",
     "link add eth7 type veth peer name eth8\nlink set eth7 up\nlink set eth8 up\n"
     "addr add 10.78.0.1/24 dev eth7\naddr add 10.78.1.1/24 dev eth8");
  Linux::NamespaceWatcher watcher(loop);
  Orb::Random random(1);
  Statehub::Store store;
  SystemState system(store, Pax::AddressFamily::ipv4);
  Agent4 agent({store, loop, loop, random});
  agent.doInit();
  VrfHost host({loop, watcher, Kiv::make<Orb::TimerWheel>(loop, loop), random, system}, "red", {nameOf("a"), {eth7}});
  const auto isPimOn = [&](const auto &intfId) { return host.platform()->pimStatus()->pimIntf(intfId) != nullptr; };
  ASSERT_TRUE(waitFor([&] { return agent.containerSm("red") && isPimOn(eth7); }));
  const ContainerSm *const before = agent.containerSm("red");
  host.pimIs({nameOf("a"), {eth8}});
  EXPECT_TRUE(waitFor([&] { return isPimOn(eth8) && !isPimOn(eth7); }));
  EXPECT_EQ(agent.containerSm("red"), before);
  host.pimIs({nameOf("b"), {eth8}});
  EXPECT_FALSE(agent.containerSm("red"));
  EXPECT_EQ(host.reason(), "namespace " + nameOf("b"));
}

}  // namespace
}  // namespace Routing::Pim::Bsr
