#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

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

TEST(Traces, NothingIsFormattedWithoutASink) {
  const Tracelet::Module module("TraceletA");
  int formatted = 0;
  const auto trace = [&] { TRACELET(module, 1, ++formatted); };
  trace();
  EXPECT_EQ(formatted, 0);
  {
    Tracelet::CaptureSink sink(1);
    trace();
    EXPECT_TRUE(sink.contains("1"));
    Registry::instance().levelIs("*", 0);
    trace();
    EXPECT_EQ(formatted, 1) << "off";
  }
  trace();
  EXPECT_EQ(formatted, 1) << "the sink is gone";
}

TEST(TracesDeathTest, ABrokenInvariantIsALineOfTheTraceFileAndOnStandardError) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const bool config = false;
  // The program that dies is this one, begun anew, which has the name of the file from its environment.
  constexpr const char *variable = "TRACELET_DEATH_TEST";
  const char *const given = ::getenv(variable);
  const std::string name = given ? given : "tracelet-death-test-" + std::to_string(::getpid());
  ::setenv(variable, name.c_str(), 0);
  EXPECT_DEATH(
      {
        Tracelet::FileSink file("/tmp", name);
        Registry::instance().sinkAdd(file);
        REQUIRE_AS(config, "config()");
      },
      "Assertion failed: config\\(\\)");
  const std::filesystem::path path = "/tmp/" + name + ".log";
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  std::filesystem::remove(path);
  const std::regex line(R"(20\d\d-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6} \w+ \d .*Assertion failed: config\(\).*\n)");
  EXPECT_TRUE(std::regex_search(text.str(), line)) << text.str();
  EXPECT_THROW(Tracelet::FileSink("/nonexistent", "agent"), std::system_error);
}

}  // namespace
