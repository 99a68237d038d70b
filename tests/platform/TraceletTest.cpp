#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "platform/tracelet/Require.h"
#include "platform/tracelet/Sinks.h"

namespace {

using Tracelet::Registry;

std::string read(const std::filesystem::path &path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A directory that goes with the test.
struct Traces : testing::Test {
  Traces() {
    char name[] = "/tmp/traceletXXXXXX";
    directory = mkdtemp(name);
  }
  ~Traces() override { std::filesystem::remove_all(directory); }
  std::filesystem::path directory;
};

TEST_F(Traces, TextIsFormattedOnlyWhereTheStatementIsOn) {
  Tracelet::Module module("TraceletTest");
  Tracelet::CaptureSink capture(4);
  int formatted = 0;
  const auto text = [&] { return ++formatted; };
  TRACELET(module, 5, "five " << text());
  EXPECT_EQ(formatted, 0);
  TRACELET(module, 4, "four " << text() << " end");
  EXPECT_EQ(capture.lines(), std::vector<std::string>{"four 1 end"});
  EXPECT_TRUE(capture.contains("1 end"));
  EXPECT_FALSE(capture.contains("five"));
}

TEST_F(Traces, ALevelHoldsForAllModulesOfTheNameNowAndLater) {
  Registry &registry = Registry::instance();
  Tracelet::Module one("TraceletA"), twin("TraceletA"), other("TraceletB");
  EXPECT_TRUE(registry.levelIs("TraceletA", 7));
  EXPECT_FALSE(registry.levelIs("TraceletLater", 8)) << "there is none yet";
  Tracelet::Module later("TraceletLater");
  EXPECT_EQ(std::vector({one.level(), twin.level(), other.level(), later.level()}),
            std::vector({7, 7, Registry::defaultLevel, 8}));
  EXPECT_TRUE(registry.levelIs("*", 2));
  EXPECT_EQ(std::vector({one.level(), other.level(), later.level(), Tracelet::Module("TraceletC").level()}),
            std::vector(4, 2));
  const auto levels = registry.levels();
  EXPECT_EQ(std::ranges::count(levels, std::pair(std::string("TraceletA"), 2)), 1);
  registry.levelIs("*", Registry::defaultLevel);
}

TEST_F(Traces, FileLinesSayWhenWhoAndHowImportantAndAreThereAtOnce) {
  Tracelet::Module module("TraceletTest");
  Tracelet::FileSink file(directory, "agent");
  Registry::instance().sinkAdd(file);
  TRACELET(module, 1, "the text");
  const std::string text = read(directory / "agent.log");
  ASSERT_EQ(text.size(), std::string("2024-05-01 12:34:56.123456 TraceletTest 1 the text\n").size()) << text;
  EXPECT_EQ(text.substr(26), " TraceletTest 1 the text\n");
  EXPECT_EQ(text.substr(0, 2), "20");
  EXPECT_THROW(Tracelet::FileSink(directory / "missing", "agent"), std::system_error);
}

using TracesDeathTest = Traces;

TEST_F(TracesDeathTest, ABrokenInvariantTellsItsExpressionInTheTraceAndOnStandardError) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const bool config = false;
  EXPECT_DEATH(
      {
        Tracelet::FileSink file("/tmp", "tracelet-death-test");
        Registry::instance().sinkAdd(file);
        REQUIRE_AS(config, "config()");
      },
      "Assertion failed: config\\(\\)");
  EXPECT_NE(read("/tmp/tracelet-death-test.log").find("Assertion failed: config()"), std::string::npos);
  std::filesystem::remove("/tmp/tracelet-death-test.log");
}

}  // namespace
