#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "plan/Outcome.h"
#include "plan/Program.h"
#include "plan/Topology.h"
#include "tests/plan/Plans.h"

namespace Planning {
namespace {

Arguments wordsOf(const std::string &line) {
  std::istringstream words(line);
  return {std::istream_iterator<std::string>(words), {}};
}

struct Printed {
  int status;
  std::string out;
  std::string err;
};

Printed generated(const std::string &line) {
  std::ostringstream out, err;
  Arguments arguments = wordsOf(line);
  arguments.insert(arguments.begin(), "generate");
  const int status = program(arguments, out, err);
  return {status, out.str(), err.str()};
}

bool isConnected(const Plan &plan) {
  Topology topology;
  for (const Router &router : plan.routers) topology.routers.push_back(router.name);
  for (const Link &link : plan.links) topology.links.emplace_back(link.members[0].router, link.members[1].router);
  const Distances distances = Ways(topology).from(0);
  return std::none_of(distances.begin(), distances.end(), [](const auto &each) { return !each; });
}

TEST(Generate, PlansAreGoodAndWhatTheyExpectHolds) {
  struct Case {
    const char *line;
    size_t routers, links;
  };
  const Case cases[] = {
      {"ring 3", 3, 3},
      {"ring 6", 6, 6},
      {"grid 4x2", 8, 10},
      {"grid 2x1", 2, 1},
      {"grid 5x1", 5, 4},
      {"tree --depth 2 --children 2", 7, 6},
      {"tree --depth 1 --children 3", 4, 3},
      {"fat-tree --pods 4", 20, 32},
      {"random 9 --links 8 --seed 3", 9, 8},
      {"random 8 --links 28", 8, 28},
      {"random 10", 10, 20},
  };
  for (const Case &each : cases) {
    for (const char *family : {"ipv4", "ipv6"}) {
      SCOPED_TRACE(std::string(each.line) + " " + family);
      const Printed printed = generated(std::string(each.line) + " --family " + family);
      ASSERT_EQ(printed.status, done) << printed.err;
      const LoadedPlan loaded = planFromText(printed.out, "");
      ASSERT_TRUE(loaded.good()) << loaded.findings.errors.front().message;
      EXPECT_TRUE(loaded.findings.warnings.empty());
      EXPECT_EQ(loaded.plan.routers.size(), each.routers);
      EXPECT_EQ(loaded.plan.links.size(), each.links);
      EXPECT_TRUE(isConnected(loaded.plan));
      for (const Verdict &verdict : play(loaded.plan, 1).verdicts) EXPECT_TRUE(verdict.holds) << verdict.seen;
    }
  }
}

TEST(Generate, TheSeedMakesTheNetwork) {
  const std::string one = generated("random 12 --links 20 --seed 7").out;
  EXPECT_EQ(generated("random 12 --links 20 --seed 7").out, one);
  EXPECT_NE(generated("random 12 --links 20 --seed 8").out, one);
}

TEST(Generate, WhatCannotBeIsRefused) {
  const std::pair<const char *, const char *> cases[] = {
      {"", "which network"},
      {"star 5", "there is no \"star\""},
      {"ring", "ring needs a size"},
      {"ring 2", "routers: a number from 3 to 10000, not \"2\""},
      {"ring 5x5", "routers: a number from 3 to 10000, not \"5x5\""},
      {"ring 5 --pods 4", "--pods is not for ring"},
      {"grid 5", "is no size of a grid"},
      {"grid 1x1", "a grid has 2 to"},
      {"tree 5", "tree has options, and no size"},
      {"tree --children 1", "children: a number from 2 to"},
      {"tree --depth 16 --children 3", "more than 10000 routers"},
      {"fat-tree --pods 5", "even number"},
      {"random 9 --links 7", "links: a number from 8 to 36"},
      {"random 9 --links 37", "links: a number from 8 to 36"},
      {"ring 5 --family ipx", "ipv4 or ipv6"},
  };
  for (const auto &[line, reason] : cases) {
    const Printed printed = generated(line);
    EXPECT_EQ(printed.status, refused) << line;
    EXPECT_NE(printed.err.find(reason), std::string::npos) << line << ": " << printed.err;
  }
}

TEST(Topology, CandidatesAreWhereTheOthersCanLoseThem) {
  // Two triangles that meet in r3, which all packets between them cross.
  const Topology bow{{"r1", "r2", "r3", "r4", "r5"}, {{0, 1}, {1, 2}, {2, 0}, {2, 3}, {3, 4}, {4, 2}}};
  EXPECT_FALSE(Ways(bow).canLose(2));
  const Places places = placesIn(bow);
  for (const size_t router : {places.bsr, places.spareBsr, places.rp, places.spareRp}) EXPECT_NE(router, 2u);
  EXPECT_EQ(*Ways(bow).from(places.bsr)[places.spareBsr], 2u) << "the spare one is in the other triangle";
}

TEST(Topology, CandidatesHearOfOneAnotherInLargeNetworks) {
  for (const Topology &topology : {ring(66), ring(2000), grid(300, 1), grid(100, 3), randomNetwork(600, 601, 1)}) {
    SCOPED_TRACE(topology.routers.size());
    const Ways ways(topology);
    const Places places = placesIn(topology);
    EXPECT_TRUE(ways.canLose(places.bsr));
    EXPECT_NE(places.spareBsr, places.bsr);
    for (const size_t rp : {places.rp, places.spareRp}) {
      EXPECT_LE(ways.from(places.bsr)[rp].value(), 32u);
      if (rp != places.bsr) EXPECT_LE(ways.from(places.spareBsr, places.bsr)[rp].value(), 32u);
    }
  }
}

}  // namespace
}  // namespace Planning
