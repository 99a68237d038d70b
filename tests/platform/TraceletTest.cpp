#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "platform/tracelet/LineWriter.h"
#include "platform/tracelet/Require.h"
#include "platform/tracelet/Sinks.h"

namespace {

using Tracelet::Registry;

TEST(Traces, ALevelHoldsForAllModulesOfTheName) {
  Registry &registry = Registry::instance();
  const Tracelet::Module one("TraceletA"), twin("TraceletA"), other("TraceletB");
  const auto levels = [&] { return std::vector{one.level(), twin.level(), other.level()}; };
  EXPECT_TRUE(registry.levelIs("TraceletA", 7));
  EXPECT_FALSE(registry.levelIs("TraceletC", 8)) << "there is none";
  EXPECT_EQ(levels(), (std::vector{7, 7, Registry::defaultLevel}));
  EXPECT_TRUE(registry.levelIs("*", 2));
  EXPECT_EQ(levels(), std::vector(3, 2));
  EXPECT_EQ(std::ranges::count(registry.levels(), std::pair(std::string("TraceletA"), 2)), 1);
  registry.levelIs("*", Registry::defaultLevel);
}

TEST(Traces, LinesThatNobodyReadsAreDroppedAndCounted) {
  int pipe[2], sockets[2];
  ASSERT_EQ(::pipe(pipe), 0);
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets), 0);
  for (const auto &[reading, writing] : {std::pair(pipe[0], pipe[1]), std::pair(sockets[0], sockets[1])}) {
    std::string expected, read;
    const auto take = [&, from = reading] {
      char piece[1000];
      for (ssize_t size = 0; (size = ::read(from, piece, sizeof piece)) > 0;) read.append(piece, size);
    };
    ::fcntl(reading, F_SETFL, O_NONBLOCK);
    Tracelet::LineWriter writer(writing);
    for (int i = 0; writer.dropped() < 3; ++i) {
      const std::string line = std::string(997, 'x') + std::to_string(i % 10);
      const uint64_t dropped = writer.dropped();
      writer.line(line);
      if (writer.dropped() == dropped) expected += line + "\n";
    }
    take();
    for (const char *line : {"again", "and again"}) writer.line(line);
    take();
    EXPECT_TRUE(read == expected + "3 lines were dropped here: nobody read them\nagain\nand again\n") << read.size();
    EXPECT_FALSE(::fcntl(writing, F_GETFL) & O_NONBLOCK) << "others write there, too";
    ::close(reading);
    ::close(writing);
  }
}

TEST(TracesDeathTest, ABrokenInvariantIsALineOfTheTraceFileAndOnStandardError) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const bool config = false;
  EXPECT_DEATH(
      {
        Tracelet::FileSink file("/tmp", "tracelet-death-test");
        Registry::instance().sinkAdd(file);
        REQUIRE_AS(config, "config()");
      },
      "Assertion failed: config\\(\\)");
  const std::filesystem::path path = "/tmp/tracelet-death-test.log";
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  std::filesystem::remove(path);
  const std::regex line(R"(20\d\d-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6} \w+ \d .*Assertion failed: config\(\).*\n)");
  EXPECT_TRUE(std::regex_search(text.str(), line)) << text.str();
  EXPECT_THROW(Tracelet::FileSink("/nonexistent", "agent"), std::system_error);
}

}  // namespace
