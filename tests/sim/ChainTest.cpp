// RP sets of many shapes travel through a chain of routers and arrive unchanged.
#include <gtest/gtest.h>

#include "tests/sim/Story.h"

namespace Test {
namespace {

struct Shape {
  const char *name;
  uint32_t groups, rps;
};

class Chain : public testing::TestWithParam<std::tuple<Addresses, bool, Shape>> {
 protected:
  Chain() : story(std::get<0>(GetParam())) {}
  Pax::IpGenPrefix zone() const {
    return std::get<1>(GetParam()) ? story.addresses.scope(5) : story.addresses.global();
  }
  Sim::RpTable table() const {
    const Shape &shape = std::get<2>(GetParam());
    return story.table(zone(), shape.groups, shape.rps);
  }
  Story story;
};

TEST_P(Chain, TheLastEndsWithExactlyWhatTheFirstWasGiven) {
  story.chain({"feeder", "a", "b", "c", "d", "e"}, {1500, 576, 9000, 701, 1280});
  story.start({"a", "b", "c", "d", "e"});
  Sim::Feeder &feeder = story.feeder("feeder");
  story.feed(feeder, zone(), table());
  feeder.start();
  EXPECT_TRUE(story.within(15, [&] { return story.everyAgentHas(zone(), feeder, table()); }));
  // And it stays so, while message follows message.
  for (int i = 0; i < 10; ++i) {
    story.time().runFor(61);
    ASSERT_TRUE(story.everyAgentHas(zone(), feeder, table()));
  }
  for (const auto &link : story.network.links()) EXPECT_EQ(link->counters().tooBig, 0u) << link->name();
}

std::string caseName(const testing::TestParamInfo<Chain::ParamType> &info) {
  const auto &[addresses, isScoped, shape] = info.param;
  return std::string(addresses.ipv4() ? "ipv4" : "ipv6") + (isScoped ? "Scoped" : "Global") + shape.name;
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, Chain,
    testing::Combine(testing::Values(ipv4, ipv6), testing::Bool(),
                     testing::Values(Shape{"OneRp", 1, 1}, Shape{"TenRps", 1, 10},
                                     Shape{"ThreeHundredRpsCapped", 1, 300}, Shape{"SeveralSplitGroups", 4, 90},
                                     Shape{"FiveHundredPrefixes", 500, 1}, Shape{"NoPrefix", 0, 0})),
    caseName);

}  // namespace
}  // namespace Test
