// Stories of links as people have them: down, unnumbered, with more addresses than one.
#include <gtest/gtest.h>

#include "tests/sim/Story.h"

namespace Test {
namespace {

class Links : public testing::TestWithParam<Addresses> {
 protected:
  Links() : story(GetParam()), global(story.addresses.global()) {}

  // Makes it a candidate for BSR and RP.
  void candidateAt(const std::string &name, const char *interface, uint16_t priority) {
    const Pax::IntfId intfId("default", interface);
    const auto bsr = story.host(name).config().bsrCandidateConfigIs(intfId)->groupIs(global);
    bsr->hashMaskLenIs(story.hashMaskLen());
    bsr->priorityIs(priority);
    const auto rp = story.host(name).config().rpCandidateConfigIs(intfId);
    rp->groupRangeOptionsIs(groups)->priorityIs(192);
    rp->groupRangeIs(groups);
  }
  void within(double seconds, const Pax::IpGenAddr &bsr, const std::vector<Pax::IpGenAddr> &rps) {
    Sim::RpTable table;
    for (const Pax::IpGenAddr &rp : rps) table.group[groups][rp] = {180, 192, story.hashMaskLen()};
    ASSERT_TRUE(story.within(seconds, [&] { return story.everyAgentHas(global, bsr, table); }))
        << story.others(global, bsr, table);
  }
  const Pax::IpGenAddr &address(const std::string &name) { return story.network.router(name).address(); }

  Story story;
  const Pax::IpGenPrefix global, groups = story.addresses.group(1);
};

TEST_P(Links, ACandidateResignsWhileItsInterfaceIsDown) {
  story.network.linkIs("stub", {"r0"});
  story.chain({"r0", "r1", "r2"}, {1500});
  Sim::Intf &stub = story.network.router("r0").intfs().front();
  candidateAt("r0", "eth0", 65);
  candidateAt("r2", "lo", 64);
  story.start({"r0", "r1", "r2"});
  for (int n = 0; n < 2; ++n) {
    within(80, stub.address(), {stub.address(), address("r2")});
    stub.upIs(false);
    EXPECT_FALSE(story.host("r0").status().cbsr(global));
    EXPECT_FALSE(story.host("r0").status().crp(stub.address()));
    within(130 + 10 + 180 + 60, address("r2"), {address("r2")});
    story.time().runFor(200);
    stub.upIs(true);
  }
}

TEST_P(Links, UnnumberedOnesCarryMessagesBothWays) {
  story.chain({"r0", "r1", "r2", "r3"}, {1500}, {.unnumbered = true});
  story.host("r0").candidateBsrIs(global, 64);
  story.host("r3").candidateRpIs(groups);
  story.start({"r0", "r1", "r2", "r3"});
  within(80, address("r0"), {address("r3")});
}

TEST_P(Links, ADiamondLearnsByNextHopsThatAreNoSourcesOfHellos) {
  story.chain({"r0", "r1", "r3"}, {1500});
  story.chain({"r0", "r2", "r3"}, {1500});
  for (const auto &router : story.network.routers()) {
    for (Sim::Intf &intf : router->intfs()) {
      intf.nextHopAddressIs(story.addresses.ipv4() ? Pax::IpGenAddr::v4(intf.address().v4() + 100)
                                                   : Pax::IpGenAddr::v6(0xfe80000000000000, 100 + router->index()));
    }
  }
  candidateAt("r0", "lo", 64);
  story.start({"r0", "r1", "r2", "r3"});
  within(80, address("r0"), {address("r0")});
}

FOR_BOTH_FAMILIES(Links);

}  // namespace
}  // namespace Test
