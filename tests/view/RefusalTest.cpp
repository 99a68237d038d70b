#include <gtest/gtest.h>

#include "tests/support/ToldVrf.h"

namespace Test {
namespace {

using Routing::Pim::IO::Refusal;

// A VRF that has a neighbor on eth1, and another one there, and tells what it refuses.
class Refusals : public testing::Test {
 protected:
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
  void refuse(Refusal reason, uint32_t source) {
    vrf.reporter.refused({.reason = reason, .intfId = vrf.intf(1), .source = vrf.a.host(source)});
  }
  void neighborIs(uint32_t source) const { vrf.pimStatus->pimIntf(vrf.intf(1))->neighborIs(vrf.a.host(source)); }
  bool hasRow(Refusal reason, bool isEcho) const {
    return std::any_of(drops.rows().begin(), drops.rows().end(),
                       [&](auto &row) { return row.key.reason == reason && row.key.isEcho == isEcho; });
  }

  ToldVrf vrf{ipv4};
  const Bsr::EventLog &log = vrf.log;
  const Bsr::Drops &drops = vrf.drops;

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
  EXPECT_TRUE(hasRow(Refusal::contradiction, false));
  EXPECT_TRUE(hasRow(Refusal::rpfNeighbor, true));
  EXPECT_EQ(drops.rows().size(), 2u);
}

TEST_F(Refusals, AreToldOnceForEachNeighborAndReasonAndNoMoreThanTenAMinute) {
  for (uint32_t source = 1; source < 32; ++source) neighborIs(source);
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

TEST_F(Refusals, ForWantOfARouteSayWhatIsMissing) {
  neighborIs(1);
  vrf.told();
  vrf.reporter.refused({Refusal::noRoute, vrf.intf(1), vrf.a.host(1), vrf.a.host(9)});
  EXPECT_EQ(vrf.told(),
            "A packet from 10.0.0.1 on eth1 was refused: there is no RPF neighbor toward its BSR: there is no route to "
            "10.0.0.9\n");
}

TEST_F(Refusals, OfStrangersWhoInventSourcesLeaveRoomForThoseOfNeighbors) {
  neighborIs(1);
  refuse(Refusal::malformed, 1);
  neighborIs(2);
  refuse(Refusal::border, 2);
  EXPECT_EQ(toldIn(1), "messageRefused malformed \nmessageRefused border \n");
  for (uint32_t source = 1000; source < 4000; ++source) {
    refuse(Refusal::malformed, source);
    refuse(Refusal::filter, source);
  }
  EXPECT_NE(
      vrf.told().find("A packet from 10.0.3.232, which is no PIM neighbor, on eth1 was refused: it is malformed\n"),
      std::string::npos);
  for (uint32_t bsr = 0; bsr < 2000; ++bsr) {
    vrf.reporter.refused({Refusal::noRoute, vrf.intf(1), vrf.a.host(1), vrf.a.host(bsr)});
  }
  std::map<Refusal, size_t> rows;
  for (const auto &row : drops.rows()) ++rows[row.key.reason];
  EXPECT_EQ(rows, (std::map<Refusal, size_t>{
                      {Refusal::border, 1}, {Refusal::malformed, 1}, {Refusal::filter, 99}, {Refusal::noRoute, 100}}));
  const std::string firsts = toldIn(1);
  EXPECT_NE(firsts.find("noRoute"), std::string::npos) << "of a neighbor, however many strangers there are";
  vrf.advance(60);
  const std::string sum = log.events().back().text;
  EXPECT_NE(sum.find(": 2999 from strangers on eth1 (malformed), 1999 from 10.0.0.1 (noRoute), 2991 from others"),
            std::string::npos)
      << sum;
}

}  // namespace
}  // namespace Test
