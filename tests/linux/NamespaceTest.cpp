#include "platform/linux/NamespaceWatcher.h"
#include "platform/linux/VrfPlatform.h"
#include "tests/linux/Netns.h"
#include "tests/linux/Router.h"

namespace {

using Pax::AddressFamily;

class NamespaceTest : public Test::NetnsTest {};

TEST_F(NamespaceTest, AWatchedNameTellsOfComingGoingAndTakingOver) {
  Linux::NamespaceWatcher watcher(loop);
  std::string log;
  const auto note = [&](bool present) { log += present ? "+" : "-"; };
  Linux::NamespaceWatcher::Watched byName(watcher, nameOf("a"), note);
  std::string pathLog;
  Linux::NamespaceWatcher::Watched byPath(watcher, Linux::namespacePath(nameOf("a")),
                                          [&](bool present) { pathLog += present ? "+" : "-"; });
  EXPECT_FALSE(byName.present());
  netns("a");
  EXPECT_TRUE(waitFor([&] { return log == "+" && pathLog == "+"; })) << log << ' ' << pathLog;
  const Linux::Namespace held(nameOf("a"));  // as open sockets would, so that the inode is not free
  netnsDel("a");
  netns("a");
  EXPECT_TRUE(waitFor([&] { return log == "+-+" && pathLog == "+-+"; })) << log << ' ' << pathLog;
  netnsDel("a");
  EXPECT_TRUE(waitFor([&] { return log == "+-+-" && pathLog == "+-+-"; })) << log << ' ' << pathLog;
}

TEST_F(NamespaceTest, APathIsWaitedForEvenBeforeItsDirectoryExists) {
  const std::string directory = "/tmp/" + nameOf("netns"), path = directory + "/deeper/x";
  Linux::NamespaceWatcher watcher(loop);
  std::string log;
  Linux::NamespaceWatcher::Watched watched(watcher, path, [&](bool present) { log += present ? "+" : "-"; });
  netns("a");
  const ::Test::Ran made = ::Test::run("mkdir " + directory);
  ASSERT_TRUE(made.good) << made.output;
  settle();
  const ::Test::Ran mounted = ::Test::run("mkdir " + directory + "/deeper && touch " + path + " && mount --bind " +
                                          Linux::namespacePath(nameOf("a")) + " " + path);
  EXPECT_TRUE(mounted.good) << mounted.output;
  EXPECT_TRUE(waitFor([&] { return log == "+"; }));
  EXPECT_TRUE(::Test::run("umount " + path + "; rm -r " + directory).good);
  EXPECT_TRUE(waitFor([&] { return log == "+-"; }));
}

TEST_F(NamespaceTest, AVrfWhoseNamespaceIsDeletedClosesEverythingThere) {
  netns("a");
  netns("b");
  link("a", "a0", "b", "b0");
  ip("a", "addr add 10.1.0.1/24 dev a0");
  Linux::NamespaceWatcher watcher(loop);
  Orb::Random random(1);
  std::unique_ptr<Linux::VrfPlatform> vrf;
  bool vanished = false;
  Linux::VrfPlatform::Parameters parameters;
  parameters.vrf = "blue";
  parameters.networkNamespace = nameOf("a");
  parameters.vanished = [&] {
    EXPECT_TRUE(vrf->interfaces()->intfStatus().empty());
    EXPECT_TRUE(vrf->pimStatus()->pimIntf().empty());
    EXPECT_FALSE(vrf->port()->send(Pax::IntfId("blue", "a0"), Routing::Pim::Packet::HelloMessage()));
    vrf.reset();
    vanished = true;
  };
  vrf = std::make_unique<Linux::VrfPlatform>(loop, watcher, random, parameters);
  vrf->hello()->intfIs(Pax::IntfId("blue", "a0"));
  ASSERT_TRUE(waitFor([&] { return vrf->complete() && vrf->pimStatus()->pimIntf().size() == 1; }));

  ::Test::Router b(loop, nameOf("b"), AddressFamily::ipv4);
  ASSERT_TRUE(waitFor([&] { return b.intf("b0") != nullptr; }));
  netnsDel("a");
  EXPECT_TRUE(waitFor([&] { return vanished; }));
  // The other end of the link goes only when the kernel frees the namespace: nothing holds it any more.
  EXPECT_TRUE(waitFor([&] { return !b.intf("b0"); }));
}

TEST_F(NamespaceTest, AtRestNothingTurns) {
  netns("a");
  ip("a", "link add a0 type veth peer name a1");
  Linux::NamespaceWatcher watcher(loop);
  Orb::Random random(1);
  Linux::VrfPlatform::Parameters parameters;
  parameters.networkNamespace = nameOf("a");
  const Linux::VrfPlatform vrf(loop, watcher, random, parameters);
  // The deadline is one turn. Namespaces that others make at the same time wake the watch for them too, but not
  // for ever; a loop that spins turns at each look.
  EXPECT_TRUE(waitFor([&] { return vrf.complete() && settle() <= 1; }));
}

}  // namespace
