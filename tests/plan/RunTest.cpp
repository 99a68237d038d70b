#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "plan/Program.h"
#include "plan/Question.h"
#include "tests/daemon/TemporaryDirectory.h"
#include "tests/plan/Plans.h"

namespace Planning {
namespace {

using Lines = std::vector<std::string>;

struct Ran {
  int status = 0;
  std::string out, err;

  Lines lines() const {
    std::istringstream text(out);
    Lines lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }
  bool has(const std::string &line) const {
    const Lines all = lines();
    return std::find(all.begin(), all.end(), line) != all.end();
  }
};

Ran run(const std::string &plan, const Arguments &arguments) {
  const Test::TemporaryDirectory directory;
  const std::string file = directory.path() + "/plan.json";
  std::ofstream(file) << plan;
  Arguments all{"run", file};
  all.insert(all.end(), arguments.begin(), arguments.end());
  std::ostringstream out, err;
  Ran ran;
  ran.status = program(all, out, err);
  ran.out = out.str();
  ran.err = err.str();
  return ran;
}

// A row of so many routers, of which r1 is a candidate, and crashes.
Ran run(size_t routers, const Arguments &arguments, const std::string &expectations = "",
        const std::string &crash = "200") {
  std::string named = R"("r1": {"configuration": {"vrfConfig": {"default": {
      "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}},
      "rpCandidateConfig": {"lo": {"groupRange": {"224.0.0.0/4": {}}}}}}}})";
  std::string links;
  for (size_t i = 2; i <= routers; ++i) {
    const std::string name = "r" + std::to_string(i);
    named += ", \"" + name + "\": {}";
    links += (i > 2 ? ", {\"between\": [\"r" : "{\"between\": [\"r") + std::to_string(i - 1) + "\", \"" + name + "\"]}";
  }
  return run(R"({"name": "A row", "routers": {)" + named + "}, \"links\": [" + links + R"(], "events": [{"at": )" +
                 crash + R"(, "crash": "r1"}], "duration": 500, "expect": [)" + expectations + "]}",
             arguments);
}

TEST(Run, ASmallNetworkIsToldRouterByRouter) {
  const Ran ran = run(3, {});
  EXPECT_EQ(ran.status, done) << ran.err;
  EXPECT_EQ(ran.lines().front(), "A row");
  EXPECT_TRUE(ran.has("     5.001  r2  notice   Zone 224.0.0.0/4 has BSR 192.168.0.1 with priority 64")) << ran.out;
  EXPECT_TRUE(ran.has("     5.002  r3  notice   Zone 224.0.0.0/4 has BSR 192.168.0.1 with priority 64"));
  EXPECT_TRUE(ran.has("     5.002  === all of 224.0.0.0/4 agree on r1 (192.168.0.1) without RPs, 5 s after the start"));
  EXPECT_TRUE(ran.has("   200.000  >>> The agent of r1 crashes"));
  EXPECT_TRUE(ran.has("  From 200 to 500 s: The agent of r1 crashes"));
  EXPECT_TRUE(ran.has("  224.0.0.0/4: none at 2 routers"));
  EXPECT_EQ(run(3, {}).out, ran.out);
}

TEST(Run, WhatManyRoutersTellIsOneLine) {
  const Ran ran = run(30, {});
  EXPECT_TRUE(
      ran.has("     5.001  r2, r3, r4, r5 and 25 others  notice   Zone 224.0.0.0/4 has BSR 192.168.0.1 with "
              "priority 64 (until 5.029 s)"))
      << ran.out;
  EXPECT_TRUE(ran.has("     0.000  r1, r2, r3, r4 and 26 others  notice   The agent runs in VRF default"));
  EXPECT_LT(ran.lines().size(), 45u);
  EXPECT_EQ(run(30, {"--severity", "alert"}).out.find("notice"), std::string::npos);
}

TEST(Run, WhatIsToldFirstStandsFirst) {
  double last = 0;
  for (const std::string &line : run(3, {}, "", "4").lines()) {
    if (line.find("For how long") == 0) break;
    const double at = std::atof(line.c_str());
    EXPECT_GE(at, line.empty() ? 0 : last) << line;
    last = std::max(at, last);
  }
  EXPECT_GT(last, 100);
}

TEST(Run, ExpectationsDecideTheExitStatus) {
  const std::string good = R"({"at": 100, "bsr": "r1"})", bad = R"({"at": 400, "bsr": "r1"})";
  EXPECT_EQ(run(2, {}, good).status, done);
  EXPECT_EQ(run(2, {"--seed", "4294967296"}, good).status, refused);
  const Ran ran = run(2, {}, good + ", " + bad);
  EXPECT_EQ(ran.status, failed);
  EXPECT_TRUE(ran.has("  does not hold: at 400 s the BSR of 224.0.0.0/4 is r1 (192.168.0.1) everywhere"));
  EXPECT_TRUE(ran.has("                 seen: r2 had none"));
  EXPECT_EQ(ran.lines().back(), "1 of 2 expectations held.");
  const Ran ended = run(2, {"--until", "300"}, good + ", " + bad + R"(, {"withoutBsr": 0, "from": 60})");
  EXPECT_EQ(ended.status, done);
  EXPECT_EQ(ended.lines().back(), "2 of 2 expectations held.");
  EXPECT_EQ(ended.err,
            "pimbsr-sim: the run ends before this is expected: at 400 s the BSR of 224.0.0.0/4 is r1 "
            "(192.168.0.1) everywhere\n"
            "pimbsr-sim: the run ends while this is expected: a BSR of 224.0.0.0/4 everywhere, but for 0 s at most, "
            "from 60 s to 500 s\n");
  EXPECT_NE(ended.out.find("at most, from 60 s to 500 s, of which this run has seen what is until 300 s\n"),
            std::string::npos)
      << ended.out;
}

// Where nobody is ever a candidate, all count that run.
TEST(Run, SaysWhereNoRouterCounts) {
  const auto toldWith = [](const std::string &agent) {
    return run(R"({"routers": {"r1": )" + agent + R"(, "r2": )" + agent + R"(},
      "links": [{"between": ["r1", "r2"]}], "duration": 100})",
               {})
        .out;
  };
  const std::string none = toldWith(R"({"agent": "off"})"), both = toldWith("{}");
  EXPECT_NE(none.find("beginning\n    no router counts\n\nBSRs in the end\n\n  none: no router counts\n"),
            std::string::npos)
      << none;
  EXPECT_NE(both.find("BSRs in the end\n\n  224.0.0.0/4: none at 2 routers\n"), std::string::npos) << both;
}

TEST(Run, TheSchemaIsPrintedAndItsHelp) {
  const auto printed = [](const Arguments &arguments, int status) {
    std::ostringstream out, err;
    EXPECT_EQ(program(arguments, out, err), status) << err.str();
    return out.str() + err.str();
  };
  EXPECT_EQ(nlohmann::json::parse(printed({"schema"}, done))["type"], "object");
  EXPECT_EQ(printed({"schema", "--help"}, done).find("Usage: pimbsr-sim schema\n"), 0u);
  const std::string refusal = printed({"schema", "more"}, refused);
  EXPECT_NE(refusal.find("\nUsage: pimbsr-sim schema\n"), std::string::npos) << refusal;
}

TEST(Run, QuestionsAreAnsweredAtTheirTime) {
  const Ran ran = run(3, {"--ask", "r3 show bsr", "--ask", "r3 explain bsr at 100", "--ask", "r1 show bsr"});
  EXPECT_EQ(ran.status, done) << ran.err;
  EXPECT_TRUE(ran.has("   100.000  ??? r3 explain bsr at 100"));
  EXPECT_LT(ran.out.find("Zone 224.0.0.0/4: the BSR is 192.168.0.1"), ran.out.find(">>>")) << ran.out;
  EXPECT_NE(ran.out.find("   500.000  ??? r3 show bsr\n            vrf "), std::string::npos);
  EXPECT_NE(ran.out.find("   500.000  ??? r1 show bsr\n            (the agent does not run)\n            vrf "),
            std::string::npos);
  EXPECT_NE(ran.out.find("            vrf      zone         address  priority"), std::string::npos);
  const char *const wrong[] = {"r4 show bsr",         "r3/blue show bsr",
                               "r3 show agent",       "r3 show rp",
                               "r3 tell bsr",         "r3 explain group 1.2.3",
                               "r3 show bsr at noon", "r3 show bsr at 501",
                               "r3 explain zone",     "r3",
                               "r3:eth0 show bsr"};
  for (const char *question : wrong) {
    const Ran refusal = run(3, {"--ask", question});
    EXPECT_EQ(refusal.status, refused) << question;
    EXPECT_NE(refusal.err.find("; ask \"ROUTER[/VRF] show|explain"), std::string::npos) << question;
    EXPECT_EQ(std::count(refusal.err.begin(), refusal.err.end(), '\n'), 2) << "and the usage: " << refusal.err;
    EXPECT_EQ(refusal.out, "") << question;
  }
}

TEST(Run, AVrfIsAskedAlone) {
  const Plan plan = planFrom(R"({"routers": {"r1": {}, "r2": {}}, "links": [
      {"between": ["r1", "r2"]}, {"between": ["r1/blue", "r2/blue"], "name": "blue"}], "duration": 10})");
  Simulation simulation(plan, 1);
  const Question all = questionFrom("r1 show interfaces at 10", simulation);
  const Question one = questionFrom("r1/blue show interfaces", simulation);
  EXPECT_EQ(one.at, 10);
  simulation.runTo(10);
  EXPECT_EQ(answerTo(all, simulation).size(), 2u);
  ASSERT_EQ(answerTo(one, simulation).size(), 1u);
  EXPECT_EQ(answerTo(one, simulation)[0]["vrf"], "blue");
}

TEST(Run, AnRpOfSeveralRangesIsOne) {
  const Ran ran = run(R"({"routers": {"r1": {"configuration": {"vrfConfig": {"default": {
      "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}},
      "rpCandidateConfig": {"lo": {"groupRange": {"225.0.0.0/8": {}, "226.0.0.0/8": {}, "227.0.0.0/8": {}}}}}}}}, "r2": {}},
    "links": [{"between": ["r1", "r2"]}], "duration": 100, "expect": [{"at": 90, "bsr": "r1"}]})",
                      {});
  EXPECT_NE(ran.out.find("=== all of 224.0.0.0/4 agree on r1 (192.168.0.1) with 1 RP, "), std::string::npos) << ran.out;
}

TEST(Run, AZoneIsToldInEachVrf) {
  const Ran ran = run(twoVrfs, {});
  for (const char *text : {"=== all of 224.0.0.0/4 in VRF blue agree on r1 (10.9.9.9) with",
                           "=== all of 224.0.0.0/4 in VRF default agree on r1 (192.168.0.1) with",
                           "\n    VRF      zone         routers  no BSR ", "\n    blue     224.0.0.0/4        2  - ",
                           "always\n\nBSRs in the end", "\n  224.0.0.0/4 in VRF default: none at 2 routers\n",
                           "\n  224.0.0.0/4 in VRF blue: r1 (10.9.9.9) at 2 routers\n"}) {
    EXPECT_NE(ran.out.find(text), std::string::npos) << text << "\n" << ran.out;
  }
  std::multiset<std::string> told;
  for (const std::string &line : run(twoVrfs, {"--json"}).lines()) {
    const auto json = nlohmann::json::parse(line);
    if (json["type"] == "agreed") told.insert("agreed " + json["vrf"].get<std::string>());
    if (json["type"] != "end") continue;
    for (const auto &bsr : json["bsrs"])
      told.insert(bsr["vrf"].get<std::string>() + " " + bsr["zone"].get<std::string>());
  }
  EXPECT_GT(told.count("agreed blue"), 0u);
  EXPECT_EQ(told.count("default 224.0.0.0/4"), 2u);
  EXPECT_EQ(told.count("blue 224.0.0.0/4"), 1u);
}

TEST(Run, JsonHasALineForEachThing) {
  const Ran ran = run(8, {"--json", "--ask", "r2 show rp 239.1.1.1 at 100", "--ask", "r1 show bsr"},
                      R"({"withoutBsr": 1, "from": 100})");
  EXPECT_EQ(ran.status, failed);
  std::map<std::string, std::vector<nlohmann::json>> byType;
  double last = 0;
  for (const std::string &line : ran.lines()) {
    const auto json = nlohmann::json::parse(line);
    byType[json["type"]].push_back(json);
    if (json["type"] == "event" || json["type"] == "action") {
      EXPECT_GE(json["at"], last) << line;
      last = json["at"];
    }
  }
  EXPECT_EQ(byType.size(), 7u);
  EXPECT_EQ(std::count_if(byType["event"].begin(), byType["event"].end(),
                          [](const auto &event) { return event["kind"] == "bsrLearned"; }),
            7);
  EXPECT_EQ(byType["agreed"].front()["on"][0]["router"], "r1");
  EXPECT_EQ(byType["answer"][0]["rows"][0]["rp"], "192.168.0.1");
  EXPECT_EQ(byType["answer"][0]["runs"], true);
  EXPECT_EQ(byType["answer"][1]["runs"], false);
  ASSERT_EQ(byType["episode"].size(), 2u);
  EXPECT_EQ(byType["episode"][1]["zones"][0]["withoutBsr"]["nodes"], 7);
  EXPECT_EQ(byType["expectation"][0]["holds"], false);
  EXPECT_EQ(nlohmann::json::parse(ran.lines().back()), byType["end"][0]);
}

}  // namespace
}  // namespace Planning
