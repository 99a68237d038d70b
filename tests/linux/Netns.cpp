#include "tests/linux/Netns.h"

#include <dirent.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <boost/asio/steady_timer.hpp>
#include <cerrno>
#include <chrono>
#include <fstream>

namespace Test {

namespace {

const std::string prefix = "pimbsr-test-";

void sweep() {
  DIR *directory = opendir("/run/netns");
  if (!directory) return;
  std::vector<std::string> stale;
  while (const dirent *entry = readdir(directory)) {
    const std::string name = entry->d_name;
    if (name.compare(0, prefix.size(), prefix) != 0) continue;
    const int process = std::atoi(name.c_str() + prefix.size());
    if (process > 0 && kill(process, 0) != 0 && errno == ESRCH) stale.push_back(name);
  }
  closedir(directory);
  for (const std::string &name : stale) run("ip netns del " + name);
}

}  // namespace

Ran run(const std::string &command) {
  Ran ran;
  FILE *pipe = popen(("(" + command + ") 2>&1").c_str(), "r");
  if (!pipe) return ran;
  char buffer[4096];
  while (const size_t size = fread(buffer, 1, sizeof buffer, pipe)) ran.output.append(buffer, size);
  ran.good = pclose(pipe) == 0;
  return ran;
}

void NetnsTest::SetUp() {
  sweep();
  const std::string probe = nameOf("probe");
  if (const Ran ran = run("ip netns add " + probe + " && ip netns del " + probe); !ran.good) {
    GTEST_SKIP() << "network namespaces are not permitted here: " << ran.output;
  }
}

void NetnsTest::TearDown() {
  for (const std::string &name : made_) run("ip netns del " + name);
}

std::string NetnsTest::nameOf(const std::string &what) { return prefix + std::to_string(getpid()) + "-" + what; }

std::string NetnsTest::netns(const std::string &what) {
  const std::string name = nameOf(what);
  const Ran ran = run("ip netns add " + name + " && ip -n " + name + " link set lo up");
  EXPECT_TRUE(ran.good) << ran.output;
  made_.push_back(name);
  return name;
}

void NetnsTest::netnsDel(const std::string &what) {
  const Ran ran = run("ip netns del " + nameOf(what));
  EXPECT_TRUE(ran.good) << ran.output;
  std::erase(made_, nameOf(what));
}

void NetnsTest::ip(const std::string &what, const std::string &commands) {
  const std::string file = "/tmp/" + nameOf(what) + ".batch";
  std::ofstream(file) << commands << '\n';
  const Ran ran = run("ip -n " + nameOf(what) + " -batch " + file);
  unlink(file.c_str());
  EXPECT_TRUE(ran.good) << ran.output << " for\n" << commands;
}

void NetnsTest::link(const std::string &what, const std::string &end, const std::string &otherWhat,
                     const std::string &otherEnd) {
  ip(what, "link add " + end + " type veth peer name " + otherEnd + " netns " + nameOf(otherWhat) + "\nlink set " +
               end + " up");
  ip(otherWhat, "link set " + otherEnd + " up");
}

bool NetnsTest::waitFor(const std::function<bool()> &holds, double seconds) {
  const auto late = std::make_shared<bool>(false);
  boost::asio::steady_timer deadline(loop.context(), std::chrono::milliseconds(static_cast<int>(seconds * 1000)));
  deadline.async_wait([late](const boost::system::error_code &) { *late = true; });
  while (!holds() && !*late) loop.turn();
  return holds();
}

int NetnsTest::settle() {
  int turns = -1;  // asked once before the first
  waitFor(
      [&] {
        ++turns;
        return false;
      },
      0.3);
  return turns - 1;  // and once after the last
}

}  // namespace Test
