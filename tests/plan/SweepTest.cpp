#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <set>
#include <sstream>

#include "tests/plan/Plans.h"
#include "tests/plan/SweepTest.h"

namespace Planning {
namespace {

using Json = nlohmann::json;

TEST_F(SweepTest, FindsWhatTheNetworkCannotLose) {
  EXPECT_EQ(sweep({"--json"}), failed);
  const Json report = Json::parse(out_);
  EXPECT_EQ(report["runs"], 15);  // nothing, 4 links, 4 routers, 6 pairs
  ASSERT_EQ(report["zones"].size(), 1u);
  const Json &zone = report["zones"][0];
  Json losses = Json::array();
  for (const Json &loss : zone["cannotLose"]) {
    losses.push_back({loss["fails"][0], loss["routersWithoutBsr"], loss["routersWithoutRp"]});
  }
  EXPECT_EQ(losses, Json::parse(R"([["router r2", 0, 3], ["link r3-r4", 1, 1], ["router r3", 1, 1]])"));
  std::set<Json> pairs;
  for (const Json &loss : zone["cannotLosePairs"]) pairs.insert(loss["fails"]);
  EXPECT_EQ(pairs,
            (std::set<Json>{{"link r1-r2", "link r2-r3"}, {"link r1-r2", "link r1-r3"}, {"link r2-r3", "link r1-r3"}}));
  ASSERT_EQ(zone["worst"].size(), 1u);
  EXPECT_EQ(zone["worst"][0]["fails"], Json({"router r1"}));
  EXPECT_GT(zone["worst"][0]["withoutBsr"]["seconds"], 5);
  // 6 of 15 runs leave somebody without; that of 350 s is about what comes of the crash, which is not played.
  ASSERT_EQ(report["expect"].size(), 1u);
  EXPECT_EQ(report["expect"][0]["held"], 15 - 3 - 3 - 3);
  EXPECT_NE(err_.find("1 of 1 event, and what is expected then, 1 of 2 expectations"), std::string::npos) << err_;
}

TEST_F(SweepTest, AZoneIsTalliedInEachVrf) {
  write("plan.json", twoVrfs);
  sweep({"--no-pairs", "--results", path("results")});
  const std::string table = out_;
  EXPECT_LT(table.find("\nZone 224.0.0.0/4 in VRF default\n"), table.find("\nZone 224.0.0.0/4 in VRF blue\n")) << table;
  const Lines lines = linesOf(read("results"));
  write("turned", std::accumulate(lines.rbegin(), lines.rend(), std::string()));
  run({"merge", path("turned")});
  EXPECT_EQ(out_, table);
  run({"merge", path("results"), "--json"});
  std::map<std::string, std::set<std::string>> losses;
  const Json report = Json::parse(out_);
  for (const Json &zone : report["zones"]) {
    EXPECT_EQ(zone["zone"], "224.0.0.0/4");
    for (const Json &loss : zone["cannotLose"]) losses[zone["vrf"]].insert(loss["fails"][0]);
  }
  EXPECT_EQ(losses["default"], (std::set<std::string>{"link r1-r2", "link r2-r3", "router r1", "router r2"}));
  EXPECT_EQ(losses["blue"], (std::set<std::string>{"link blue", "router r1"}));
  // In VRF default only one link is left that can be lost, in blue two.
  sweep({});
  const size_t blue = out_.find("\nZone 224.0.0.0/4 in VRF blue\n"), pairs = out_.find("It can lose any pair of links");
  EXPECT_LT(blue, pairs) << out_;
  EXPECT_NE(pairs, std::string::npos) << out_;
}

// There is no RP at all, whatever fails; but r3 and r4 can lose their BSR.
TEST_F(SweepTest, WhatIsMissingAnywayIsNotBlamedOnWhatFails) {
  std::string changed = network;
  const std::string rp = "\"rpCandidateConfig\": {\"lo\": {\"groupRange\": {\"224.0.0.0/4\": {}}}}";
  const size_t at = changed.find(rp);
  ASSERT_NE(at, std::string::npos);
  changed.replace(at, rp.size(), "\"rpCandidateConfig\": {}");
  changed.resize(changed.find(",\n  \"expect\""));
  changed += "}";
  write("plan.json", changed);
  sweep({"--at", "200"});
  EXPECT_NE(out_.find("\nEven where nothing fails, some stay without until the end: 4 routers without RP, such as r1.\n"
                      "\nWhat it cannot lose besides: "),
            std::string::npos)
      << out_;
  EXPECT_EQ(out_.find("Whatever else"), std::string::npos) << out_;
  sweep({"--at", "200", "--json"});
  const Json zone = Json::parse(out_)["zones"][0];
  EXPECT_EQ(zone["withoutFailure"]["routersWithoutRp"], 4);
  EXPECT_EQ(zone["withoutFailure"]["routersWithoutBsr"], 0);
  std::set<Json> losses;
  for (const Json &loss : zone["cannotLose"]) losses.insert(loss["fails"]);
  EXPECT_EQ(losses, (std::set<Json>{{"link r3-r4"}, {"router r3"}}));
  ASSERT_EQ(zone["cannotLosePairs"].size(), 1u);
  EXPECT_EQ(zone["cannotLosePairs"][0]["fails"], Json({"link r2-r3", "link r1-r3"}));
}

TEST_F(SweepTest, TheStoryUntilTheFailureIsPlayed) {
  EXPECT_EQ(sweep({"--at", "500", "--no-pairs", "--json"}), failed);
  const Json report = Json::parse(out_);
  EXPECT_EQ(report["expect"].size(), 2u);
  for (const Json &loss : report["zones"][0]["cannotLose"]) {
    if (loss["fails"][0] == "router r2") EXPECT_EQ(loss["routersWithoutBsr"], 2) << "r1 has crashed";
  }
}

TEST_F(SweepTest, ComesOutTheSameHoweverItIsDone) {
  const Arguments seeds{"--seeds", "2", "--results"};
  const auto with = [&](const std::string &file, const Arguments &more) {
    Arguments all = seeds;
    all.push_back(path(file));
    all.insert(all.end(), more.begin(), more.end());
    return all;
  };
  ASSERT_EQ(sweep(with("whole", {"--jobs", "1"})), failed) << err_;
  const std::string table = out_, results = read("whole");
  Lines lines = linesOf(results);
  ASSERT_EQ(lines.size(), 30u);
  EXPECT_NE(lines[29].find("\"run\":29,\"seed\":2,"), std::string::npos) << lines[29];

  sweep(with("spread", {"--jobs", "3"}));
  EXPECT_EQ(out_, table);
  EXPECT_EQ(read("spread"), results);

  // Interrupted while the eighth line was written, which came after others as they happened to be done.
  write("part", lines[20] + lines[3] + lines[0] + lines[7] + lines[29] + lines[5] + lines[6] + lines[8].substr(0, 40));
  sweep(with("part", {"--jobs", "2"}));
  EXPECT_EQ(out_, table);
  EXPECT_EQ(read("part"), results);

  // One after the other, by the command lines, and the last first.
  sweep({"--seeds", "2", "--list"});
  std::string singles;
  for (const std::string &line : linesOf(out_)) {
    std::istringstream words(line);
    Arguments arguments{std::istream_iterator<std::string>(words), {}};
    arguments.erase(arguments.begin());
    arguments[1] = arguments[1].substr(1, arguments[1].size() - 2);  // the quotes
    ASSERT_EQ(run(arguments), done) << line << err_;
    singles.insert(0, out_);
  }
  write("singles", singles);
  EXPECT_EQ(run({"merge", path("singles")}), failed);
  EXPECT_EQ(out_, table);
  EXPECT_EQ(err_, "");

  // More seeds go on from those that are there.
  sweep({"--results", path("more")});
  EXPECT_EQ(linesOf(read("more")).size(), 15u);
  sweep(with("more", {}));
  EXPECT_EQ(read("more"), results);
}

TEST_F(SweepTest, ResultsOfSomethingElseAreRefused) {
  sweep({"--no-pairs", "--results", path("results")});
  const std::string before = read("results");
  const auto isRefused = [&](const Arguments &options, const char *reason) {
    Arguments all{"--no-pairs", "--results", path("results")};
    all.insert(all.end(), options.begin(), options.end());
    EXPECT_EQ(sweep(all), refused) << reason;
    EXPECT_NE(err_.find(reason), std::string::npos) << err_;
    EXPECT_EQ(read("results"), before) << reason;
  };
  isRefused({"--at", "100"}, "line 1 is of another plan, or of another setting");
  std::string changed = network;
  changed.replace(changed.find("65"), 2, "66");
  write("plan.json", changed);
  isRefused({}, "line 1 is of another plan, or of another setting");
  // A comment changes nothing.
  write("plan.json", "// Note\n" + std::string(network));
  EXPECT_EQ(sweep({"--no-pairs", "--results", path("results")}), failed);
  write("results", before + "rubbish\n");
  EXPECT_EQ(sweep({"--no-pairs", "--results", path("results")}), refused);
  EXPECT_NE(err_.find("line 10 is no result of a sweep"), std::string::npos) << err_;
  // It would be cut off, were it a result.
  write("results", "rubbish");
  EXPECT_EQ(sweep({"--no-pairs", "--results", path("results")}), refused);
  EXPECT_NE(err_.find(path("results") + ": is no file of results"), std::string::npos) << err_;
  EXPECT_EQ(read("results"), "rubbish");
}

TEST_F(SweepTest, SettingsThatCannotTellOrBePlayedAreRefused) {
  const auto isRefused = [&](const Arguments &options, const char *reason) {
    EXPECT_EQ(sweep(options), refused) << reason;
    EXPECT_NE(err_.find(reason), std::string::npos) << err_;
    EXPECT_EQ(out_, "");
  };
  isRefused({"--list", "--for", "0"}, "--for 0 is too short");
  isRefused({"--list", "--for", "359"}, "It takes 360 s");  // an RP is held for 180 s
  EXPECT_EQ(sweep({"--list", "--for", "360"}), done);
  EXPECT_EQ(err_.find("the end is at"), std::string::npos) << err_;
  isRefused({"--list", "--results", path("results")}, "--results goes not with");
  isRefused({"--run", "1", "--results", path("results")}, "--results goes not with");
  isRefused({"--run", "1", "--list"}, "--run goes not with --list");
  for (const char *jobs : {"0", "1025"}) {
    isRefused({"--list", "--jobs", jobs}, "--jobs is 1 to 1024");
    EXPECT_EQ(err_.find("note:"), std::string::npos) << err_;
  }
  EXPECT_EQ(run({"sweep", "-", "--list"}), refused);
  EXPECT_NE(err_.find("--list needs a file"), std::string::npos) << err_;
  std::string changed = network;
  changed.replace(changed.find('{'), 1, "{\"seed\": 4294967294, ");
  changed.replace(changed.find("\"from\": 60"), 10, "\"from\": 60, \"to\": 550");
  write("plan.json", changed);
  isRefused({"--list", "--seeds", "3"}, "only 2 seeds");
  EXPECT_EQ(sweep({"--list", "--at", "100", "--seeds", "2"}), done);
  EXPECT_NE(err_.find("the end is at 550 s and not at 460 s"), std::string::npos) << err_;
}

TEST_F(SweepTest, ResultsAreKeptInARegularFile) {
  ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
  for (const auto &[file, reason] :
       {std::pair(path("fifo"), "no regular file"), {"/dev/full", "no regular file"}, {path("."), "is a folder"}}) {
    EXPECT_EQ(sweep({"--results", file}), refused) << file;
    EXPECT_NE(err_.find(file + ": is "), std::string::npos) << err_;
    EXPECT_NE(err_.find(reason), std::string::npos) << err_;
  }
  EXPECT_EQ(run({"merge", path(".")}), refused);
  EXPECT_NE(err_.find("is a folder"), std::string::npos) << err_;
}

TEST_F(SweepTest, AResultThatIsCutShortSaysWhyAndIsNoFaultOfTheInput) {
  // The first write gets as far as the file may grow, and has no error.
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit narrow{100, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &narrow), 0);
  const int status = sweep({"--no-pairs", "--results", path("results")});
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(status, failed);
  EXPECT_NE(err_.find(path("results") + ": cannot be written: File too large\n"), std::string::npos) << err_;
  EXPECT_EQ(read("results").size(), 100u);
  EXPECT_EQ(sweep({"--no-pairs", "--results", path("none/results")}), failed);
  EXPECT_NE(err_.find("cannot be written: No such file"), std::string::npos) << err_;
  EXPECT_EQ(run({"merge", path("none")}), refused);
}

}  // namespace
}  // namespace Planning
