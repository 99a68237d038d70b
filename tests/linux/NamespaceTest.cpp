#include <linux/capability.h>

#include <fstream>
#include <thread>

#include "platform/linux/NamespaceWatcher.h"
#include "platform/linux/NetlinkMonitors.h"
#include "tests/linux/Netns.h"

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

// The capabilities of the calling thread that are in force.
uint64_t capabilitiesInForce() {
  std::ifstream status("/proc/thread-self/status");
  for (std::string word; status >> word;) {
    if (word == "CapEff:" && status >> word) return std::stoull(word, nullptr, 16);
  }
  return 0;
}

TEST_F(NamespaceTest, WhoKeepsTheCapabilitiesThatAreNeededStillEntersNamespaces) {
  netns("a");
  uint64_t kept = 0, inside = 0, after = 0;
  std::thread([&] {  // they are a thread's
    Linux::keepNeededCapabilities();
    kept = capabilitiesInForce();
    inside = Linux::Namespace(nameOf("a")).inside([] { return capabilitiesInForce(); });
    after = capabilitiesInForce();
  })
      .join();
  const uint64_t systemAdministration = uint64_t{1} << CAP_SYS_ADMIN;
  EXPECT_EQ(kept & ~(uint64_t{1} << CAP_NET_RAW | uint64_t{1} << CAP_NET_ADMIN | uint64_t{1} << CAP_NET_BIND_SERVICE |
                     uint64_t{1} << CAP_DAC_OVERRIDE),
            0u);
  EXPECT_EQ(inside, kept | systemAdministration);
  EXPECT_EQ(after, kept);
}

TEST_F(NamespaceTest, AtRestNothingTurns) {
  netns("a");
  ip("a", "link add a0 type veth peer name a1");
  Linux::NamespaceWatcher watcher(loop);
  const auto monitor = Linux::NetlinkMonitors(loop, AddressFamily::ipv4).monitor(nameOf("a"));
  // The deadline is one turn. Namespaces that others make at the same time wake the watch for them too, but not
  // for ever; a loop that spins turns at each look.
  EXPECT_TRUE(waitFor([&] { return monitor->complete() && settle() <= 1; }));
}

}  // namespace
