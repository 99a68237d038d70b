#include <gtest/gtest.h>

#include "tests/support/TestVrf.h"
#include "view/VrfReporter.h"

namespace Test {
namespace {

// A VRF that has a neighbor on eth1, and another one there, and tells what it refuses.
class Refusals : public testing::Test {
 protected:
  Refusals() { vrf.intfIs(1); }

  // What was told in these seconds, with the causes.
  std::string toldIn(double seconds) {
    vrf.advance(seconds);
    std::string told;
    for (; next_ < log.events().size(); ++next_) {
      const Bsr::Event &event = log.events()[next_];
      if (event.severity <= Bsr::Severity::info && !event.cause.empty()) {
        told += Bsr::sentence(event.kind, ' ', event.cause, ' ', event.newValue, '\n');
      }
    }
    return told;
  }
  void refuse(Routing::Pim::IO::Refusal reason, uint32_t source) {
    reporter.refused({.reason = reason, .intfId = vrf.intf(1), .source = vrf.a.host(source)});
  }
  bool hasRow(Routing::Pim::IO::Refusal reason, bool isEcho) const {
    return std::any_of(drops.rows().begin(), drops.rows().end(),
                       [&](auto &row) { return row.key.reason == reason && row.key.isEcho == isEcho; });
  }

  TestVrf vrf{ipv4};
  Bsr::EventLog log{[] { return 0.0; }};
  Bsr::Drops drops;
  Bsr::VrfReporter reporter{log, drops, Kiv::make<Orb::TimerWheel>(vrf.time, vrf.time), *vrf.sm,
                            [this] { return viewOf(vrf.system, "default", vrf.sm.get(), vrf.time.now(), {}); }};

 private:
  size_t next_ = 0;
};

TEST_F(Refusals, ACopyIsAnEchoButNotAFragmentThatContradictsTheOthers) {
  const auto piece = [&](uint8_t count, uint32_t rp) {
    return Bsm(vrf.a.host(1)).tag(7).piece(vrf.a.group(1), count, {{vrf.a.host(rp), 150, 0}});
  };
  vrf.hear(piece(3, 20));
  EXPECT_EQ(toldIn(5), "");
  vrf.hear(piece(4, 21));
  vrf.port->hear(vrf.intf(1), vrf.a.onLink(77), Pax::allPimRouters(vrf.a.af),
                 *Kiv::Ptr<Pim::Packet::BootstrapMessage>(piece(3, 20)));
  EXPECT_EQ(toldIn(5), "messageRefused contradiction \n");
  EXPECT_TRUE(hasRow(Routing::Pim::IO::Refusal::contradiction, false));
  EXPECT_TRUE(hasRow(Routing::Pim::IO::Refusal::rpfNeighbor, true));
  EXPECT_EQ(drops.rows().size(), 2u);
}

TEST_F(Refusals, AreToldOnceForEachNeighborAndReasonAndNoMoreThanTenAMinute) {
  using Routing::Pim::IO::Refusal;
  for (int i = 0; i < 5; ++i) refuse(Refusal::malformed, 1);
  refuse(Refusal::border, 1);
  refuse(Refusal::filter, 1);
  EXPECT_EQ(toldIn(1), "messageRefused malformed \nmessageRefused border \nadvertisementRefused filter \n");
  EXPECT_EQ(toldIn(60), "messagesRefused malformed 4\n");
  for (uint32_t source = 2; source < 32; ++source) refuse(Refusal::malformed, source);
  const std::string firsts = toldIn(1);
  EXPECT_EQ(std::count(firsts.begin(), firsts.end(), '\n'), 10);
  vrf.advance(60);
  EXPECT_EQ(log.events().back().newValue, "20");
  toldIn(0);
  EXPECT_EQ(toldIn(1800), "");
  refuse(Refusal::malformed, 1);
  EXPECT_EQ(toldIn(60), "messagesRefused malformed 1\n");
  EXPECT_EQ(toldIn(3660), "");
  refuse(Refusal::malformed, 1);
  EXPECT_EQ(toldIn(1), "messageRefused malformed \n");
}

}  // namespace
}  // namespace Test
