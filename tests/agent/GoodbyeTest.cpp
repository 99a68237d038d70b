// What neighbors see of a router whose VRF leaves the configuration, and of one that stands by.
#include <gtest/gtest.h>

#include "tests/sim/Story.h"

namespace Test {
namespace {

namespace Pim = Routing::Pim;

// Four routers on a LAN. r1 is the BSR and an RP, r2 an RP, r3 the next BSR, r4 no candidate.
class Goodbye : public testing::TestWithParam<Addresses> {
 protected:
  Goodbye() {
    r1.candidateBsrIs(global, 70);
    r3.candidateBsrIs(global, 60);
    r1.candidateRpIs(group1);
    r2.candidateRpIs(group2);
    story.network.linkIs("lan", {"r1", "r2", "r3", "r4"}).tapIs([this](const Sim::Packet &packet) {
      const auto message =
          Pim::Packet::Codec(packet.source.af()).decode(packet.payload, packet.source, packet.destination).message;
      for (const auto &router : story.network.routers()) {
        if (router->owns(packet.source)) said[router->name()] += letter(*message);
      }
    });
  }
  // H, B or C for Hello, Bootstrap message and advertisement; small when it is a goodbye.
  static char letter(const Pim::Packet::Message &message) {
    using namespace Pim::Packet;
    switch (message.type()) {
      case MessageType::hello: return static_cast<const HelloMessage &>(message).holdTime() == 0 ? 'h' : 'H';
      case MessageType::bootstrap: return static_cast<const BootstrapMessage &>(message).priority() == 0 ? 'b' : 'B';
      case MessageType::crpAdv: return static_cast<const CrpAdvMessage &>(message).holdTime() == 0 ? 'c' : 'C';
    }
    return '?';
  }
  bool follows(const Sim::Host &host, const Sim::Host &bsr) { return host.bsr(global) == bsr.router().address(); }
  // As `of` knows `whom`: its Generation ID, none for no neighbor.
  std::optional<uint32_t> neighbor(const Sim::Host &of, const Sim::Host &whom) {
    const Pax::IntfId eth0("default", "eth0");
    const auto intf = of.router().pimStatus()->pimIntf(eth0);
    const auto known = intf ? intf->neighbor(whom.router().intf(eth0)->status()->pimAddr()) : nullptr;
    return known ? std::optional(known->generationId()) : std::nullopt;
  }

  Story story{GetParam()};
  const Pax::IpGenPrefix global = GetParam().global(), group1 = GetParam().group(1), group2 = GetParam().group(2);
  Sim::Host &r1 = story.host("r1"), &r2 = story.host("r2"), &r3 = story.host("r3"), &r4 = story.host("r4");
  std::map<std::string, std::string> said;
};

TEST_P(Goodbye, AVrfThatLeavesTheConfigurationTakesItsCandidatesAlongAndThenItsHellos) {
  story.start({"r1", "r2", "r3", "r4"});
  ASSERT_TRUE(story.within(60, [&] { return follows(r4, r1) && r4.rpSet().crpSet().size() == 2; }));
  story.time().runFor(60);
  said.clear();
  r2.vrfDel(r2.router());
  EXPECT_TRUE(story.within(11, [&] { return !r4.rpSet().crpSet(group2); }));
  EXPECT_EQ(said["r2"], "ch");
  said.clear();
  r1.vrfDel(r1.router());
  story.time().runFor(1);
  EXPECT_TRUE(r4.rpSet().crpSet().empty()) << "the last message lists its RP with hold time 0";
  EXPECT_TRUE(story.within(15, [&] { return follows(r4, r3); }));
  story.time().runFor(300);
  EXPECT_EQ(said["r1"], "bh");
  EXPECT_EQ(said["r2"], "");
}

TEST_P(Goodbye, OnStandbyThereIsNoPimNeighborUntilItIsActiveAgain) {
  r2.start();
  for (const bool standby : {true, false, true}) {  // before there is a first Hello
    r1.system().standbyIs(standby);
    if (!r1.runs()) r1.start();
    story.time().runFor(standby ? 100 : 0);
  }
  EXPECT_EQ(said["r1"], "");
  std::optional<uint32_t> before;
  for (int round = 0; round < 2; ++round) {
    r1.system().standbyIs(false);
    EXPECT_TRUE(story.within(60, [&] { return follows(r2, r1) && neighbor(r1, r2) && neighbor(r2, r1); }));
    EXPECT_NE(neighbor(r2, r1), before);
    before = neighbor(r2, r1);
    said.clear();
    r1.system().standbyIs(true);
    story.time().runFor(100);
    EXPECT_EQ(said["r1"], "h");
    EXPECT_FALSE(neighbor(r2, r1) || neighbor(r1, r2) || !r1.router().pimStatus()->pimIntf().empty());
  }
}

FOR_BOTH_FAMILIES(Goodbye);

}  // namespace
}  // namespace Test
