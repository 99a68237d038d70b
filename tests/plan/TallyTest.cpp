#include "plan/Tally.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Planning {
namespace {

TEST(Tally, KeepsTheWorstWhateverTheOrder) {
  // Each of 40 links leaves somebody without for as many seconds as its number with the one seed, and the half with the
  // other; every pair with link 40 leaves two routers without for good, as link 40 itself does not.
  std::vector<SweepRun> runs;
  const Domain domain{"default", Pax::allGroups(Pax::AddressFamily::ipv4)};
  const auto add = [&](const std::vector<std::string> &failing, double seconds, size_t left) {
    SweepRun run{.plan = "p", .run = runs.size(), .failing = failing};
    run.zones.push_back({domain, {seconds, "r1"}, {}, {}, {left, left > 0 ? "r2" : ""}, {}});
    runs.push_back(run);
  };
  for (const double share : {1., 0.5}) {
    for (int link = 1; link <= 40; ++link) add({"link " + std::to_string(link)}, share * link, 0);
  }
  for (int link = 1; link < 40; ++link) add({"link " + std::to_string(link), "link 40"}, 0, 2);
  std::string first;
  for (int order = 0; order < 5; ++order) {
    Tally tally;
    for (const SweepRun &run : runs) tally.add(run);
    const SweepReport report = tally.report();
    ASSERT_EQ(report.zones.size(), 1u);
    ASSERT_EQ(report.zones[0].worst.size(), 10u);
    for (size_t i = 0; i < 10; ++i) EXPECT_EQ(report.zones[0].worst[i].score(), 40. - static_cast<double>(i));
    EXPECT_EQ(report.zones[0].pairsInAll, 39u);
    EXPECT_EQ(report.zones[0].pairs.size(), 20u);
    EXPECT_EQ(report.missing, 0u);
    if (order == 0) first = toText(report);
    EXPECT_EQ(toText(report), first);
    // Another order: of every other one first.
    std::stable_partition(runs.begin(), runs.end(), [](const SweepRun &run) { return run.run % 2 == 1; });
    std::rotate(runs.begin(), runs.begin() + 17, runs.end());
  }
}

}  // namespace
}  // namespace Planning
