/// Network namespaces of a test: named for this process, gone when the test ends however it ends.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/linux/EventLoop.h"

namespace Test {

/// Output and success of a command.
struct Ran {
  bool good = false;
  std::string output;
};
Ran run(const std::string &command);

/// Base of the tests that need namespaces; skips where they are not permitted. Namespaces that a
/// killed earlier process left behind are swept out.
class NetnsTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// The full name of this process's namespace `what`.
  static std::string nameOf(const std::string &what);
  /// Makes it, with its loopback up and without a random wait before IPv6 addresses are usable.
  std::string netns(const std::string &what);
  void netnsDel(const std::string &what);
  /// "ip" with each line of `commands` in the namespace; fails the test where one fails.
  void ip(const std::string &what, const std::string &commands);
  /// A veth pair between two namespaces, both ends up.
  void link(const std::string &what, const std::string &end, const std::string &otherWhat, const std::string &otherEnd);

  /// Turns the loop until `holds`; false when it does not within a generous deadline.
  bool waitFor(const std::function<bool()> &holds, double seconds = 120);
  /// Turns the loop for a little while, to see that something does not come; returns the turns.
  int settle();

  Linux::EventLoop loop;

 private:
  std::vector<std::string> made_;
};

}  // namespace Test
