// The election as one candidate lives it.

#include <gtest/gtest.h>

#include "tests/support/TestVrf.h"

namespace Test {
namespace {

using State = Bsr::BsrCandidateState;

class Candidate : public testing::TestWithParam<Addresses> {
 protected:
  Candidate() : v(GetParam()), zone(v.a.global()) { v.intfIs(1); }
  State state() { return v.status->cbsr(zone)->state(); }
  /// Seconds that a candidate waits that holds the best weight.
  double bestDelay() const { return v.a.ipv4() ? 5 : 10; }
  /// We, host(50) with priority 64, are elected.
  Kiv::Ptr<Bsr::BsrCandidate> elected() {
    const auto candidate = v.candidateIs(zone, 50, 64);
    v.advance(bestDelay());
    EXPECT_EQ(state(), State::eBsr);
    v.port->sent.clear();
    return candidate;
  }
  Bsm better() { return Bsm(v.a.host(60), 64); }
  Bsm worse() { return Bsm(v.a.host(40), 64); }

  TestVrf v;
  const Pax::IpGenPrefix zone;
};

TEST_P(Candidate, WaitsForItsLastAttributeThenElectsItself) {
  const auto candidate = v.status->cbsrIs(zone);
  candidate->addressIs(v.a.host(50));
  candidate->hashMaskLenIs(30);
  candidate->priorityIs(64);
  v.advance(1000);
  EXPECT_EQ(state(), State::unset);
  candidate->bsPeriodIs(60);
  EXPECT_EQ(state(), State::pBsr);
  v.advance(bestDelay() - 0.1);
  EXPECT_EQ(state(), State::pBsr);
  v.advance(0.1);
  EXPECT_EQ(state(), State::eBsr);
  EXPECT_TRUE(candidate->elected());
  EXPECT_EQ(v.bsr(zone)->ipAddr(), v.a.host(50));
  ASSERT_EQ(v.port->sent.size(), 1u);
  EXPECT_EQ(v.port->sent[0].bsm->priority(), 64);
  EXPECT_EQ(v.bsr(zone)->expiryTime(), v.time.now() + 10) << "nothing to announce yet: again in 10 s";
}

TEST_P(Candidate, EachStateAnswersEachMessage) {
  struct Row {
    State from;
    bool preferred;
    State to;
    double timer;
    bool originated;
  };
  const Row rows[] = {
      {State::pBsr, true, State::cBsr, 130, false}, {State::pBsr, false, State::pBsr, 0, false},
      {State::cBsr, true, State::cBsr, 130, false}, {State::cBsr, false, State::pBsr, bestDelay(), false},
      {State::eBsr, true, State::cBsr, 130, false}, {State::eBsr, false, State::eBsr, 60, true},
  };
  for (const Row &row : rows) {
    std::ostringstream name;
    name << row.from << (row.preferred ? " preferred" : " non-preferred");
    SCOPED_TRACE(name.str());
    TestVrf w(GetParam());
    w.intfIs(1);
    const auto candidate = w.candidateIs(zone, 50, 64);
    if (row.from == State::cBsr) w.hear(Bsm(w.a.host(60), 64));
    if (row.from == State::eBsr) {
      w.advance(bestDelay());
      w.hearCrp(7, w.a.host(50), {{w.a.group(1)}});
      w.advance(21);  // its last message is longer ago than the least interval
    }
    ASSERT_EQ(candidate->state(), row.from);
    const double before = w.sm->bsrSm().candidateSm(zone)->nextExpiry();
    w.port->sent.clear();
    w.hear(Bsm(w.a.host(row.preferred ? 60 : 40), 64));
    EXPECT_EQ(candidate->state(), row.to);
    EXPECT_EQ(candidate->elected(), row.to == State::eBsr);
    const double timer = w.sm->bsrSm().candidateSm(zone)->nextExpiry();
    if (row.from == State::pBsr && !row.preferred) {
      EXPECT_EQ(timer, before) << "not restarted";
    } else {
      EXPECT_EQ(timer - w.time.now(), row.timer);
    }
    const Pax::IpGenAddr bsr = w.a.host(row.originated ? 50 : row.preferred ? 60 : 40);
    ASSERT_EQ(w.port->sent.size(), 1u);
    EXPECT_EQ(w.port->sent.back().bsm->bsrAddress(), bsr);
    if (row.to == State::cBsr) EXPECT_EQ(w.bsr(zone)->ipAddr(), w.a.host(60));
  }
}

TEST_P(Candidate, ADeposedBsrDropsItsCollection) {
  elected();
  v.hearCrp(7, v.a.host(50), {{v.a.group(1)}});
  EXPECT_EQ(v.publishedRps(v.a.group(1)), std::vector{v.a.host(7)});
  v.hear(better().group(v.a.group(2), {{v.a.host(8), 150, 0}}));
  EXPECT_EQ(v.publishedRps(v.a.group(1)), std::nullopt);
  EXPECT_EQ(v.publishedRps(v.a.group(2)), std::vector{v.a.host(8)});
}

TEST_P(Candidate, AResumedBsrAnnouncesItselfUntilNeighborsCanHearIt) {
  const auto neighborsAre = [&](bool present) {
    const auto pimIntf = v.pimStatus->pimIntf(v.intf(1));
    if (!present) return pimIntf->neighborDel(v.neighbor(1));
    pimIntf->neighborIs(v.neighbor(1));
    pimIntf->triggeredHelloSentInc();
  };
  // Seconds from the start to the first neighbour, and those at which messages go out within a period.
  const std::vector<std::pair<double, std::vector<double>>> rows{{3, {3, 10}}, {10.5, {10.5}}, {25, {25}}};
  for (const auto &[heard, expected] : rows) {
    SCOPED_TRACE(heard);
    elected();
    v.hearCrp(7, v.a.host(50), {{v.a.group(1)}});
    v.stop();
    neighborsAre(false);
    v.start();
    std::vector<double> sent;
    for (double t = 0; t < 69; t += 0.5) {
      if (t == heard || t == heard + 2) neighborsAre(true);
      v.advance(0.125);
      if (!std::exchange(v.port->sent, {}).empty()) sent.push_back(t);
      v.advance(0.375);
    }
    EXPECT_EQ(sent, expected);
    v.candidateDel(zone);
  }
  elected();
  v.stop();
  v.start();
  v.hear(better());
  v.advance(1);
  neighborsAre(true);
  v.advance(60);
  EXPECT_EQ(state(), State::cBsr) << "an election that was lost is not announced any more";
}

TEST_P(Candidate, TheOverrideDelayFollowsTheWeights) {
  struct Row {
    uint16_t mine;
    uint16_t best;
    uint32_t ipv4;
    uint32_t ipv6;
  };
  // 5 + 2*log2(1 + best - mine) + (equal priority: log2(difference of addresses + 1)/16, else 2 - address/2^31)
  const Row rows[] = {{10, 10, 5, 10}, {10, 9, 5, 10}, {0, 255, 22, 26}, {63, 64, 8, 12}, {60, 64, 11, 14}};
  for (const Row &row : rows) {
    SCOPED_TRACE(std::to_string(row.mine) + " against " + std::to_string(row.best));
    TestVrf w(GetParam());
    w.intfIs(1);
    const auto bsr = w.status->bootstrapRouterIs(zone);
    bsr->ipAddrIs(w.a.host(60));
    bsr->priorityIs(row.best);
    w.candidateIs(zone, 50, row.mine);
    EXPECT_EQ(w.sm->bsrSm().candidateSm(zone)->bs_rand_override(), w.a.ipv4() ? row.ipv4 : row.ipv6);
  }
}

TEST_P(Candidate, AttributeChangesOfTheElectedAreAnnouncedOthersStartAnew) {
  const auto candidate = elected();
  candidate->priorityIs(70);
  EXPECT_EQ(v.bsr(zone)->priority(), 70);
  candidate->hashMaskLenIs(24);
  EXPECT_EQ(v.bsr(zone)->hashMaskLen(), 24u);
  const double learned = v.bsr(zone)->setupTime();
  v.advance(1);
  candidate->addressIs(v.a.host(51));
  EXPECT_EQ(v.bsr(zone)->ipAddr(), v.a.host(51));
  EXPECT_EQ(v.bsr(zone)->setupTime(), learned + 1);
  EXPECT_EQ(state(), State::eBsr);
  v.advance(20);
  EXPECT_EQ(v.port->sent.back().bsm->bsrAddress(), v.a.host(51));
  v.hear(Bsm(v.a.host(60), 100));
  EXPECT_EQ(state(), State::cBsr);
  candidate->priorityIs(80);
  EXPECT_EQ(state(), State::pBsr) << "starts anew";
  candidate->priorityIs(256);
  v.advance(1000);
  EXPECT_NE(state(), State::eBsr) << "never with incomplete values";
  EXPECT_FALSE(candidate->elected());
}

TEST_P(Candidate, APeriodThatTheHoldTimeDoesNotOutlastRaisesTheTimeout) {
  const auto candidate = v.candidateIs(zone, 50, 64, 130);
  v.hear(better());
  EXPECT_EQ(v.bsr(zone)->expiryTime(), v.time.now() + 270);
  candidate->bsPeriodIs(60);
  EXPECT_EQ(v.bsr(zone)->expiryTime(), v.time.now() + 130);
  v.config->holdTimeIs(100);
  EXPECT_EQ(v.bsr(zone)->expiryTime(), v.time.now() + 100);
  v.config->holdTimeIs(60);
  EXPECT_EQ(v.bsr(zone)->expiryTime(), v.time.now() + 100) << "60 is no more than the period: 130, later than now";
}

TEST_P(Candidate, ExactlyOneMachineWatchesTheBsrOfOthers) {
  v.hear(better());
  ASSERT_TRUE(v.machine(zone));
  v.candidateIs(zone, 50, 64);
  v.hear(better());
  EXPECT_FALSE(v.machine(zone));
  v.candidateDel(zone);
  ASSERT_TRUE(v.machine(zone));
  EXPECT_TRUE(v.bsr(zone));
  v.advance(131);
  EXPECT_FALSE(v.bsr(zone)) << "still timed out";
}

INSTANTIATE_TEST_SUITE_P(Families, Candidate, testing::Values(ipv4, ipv6),
                         [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; });

}  // namespace
}  // namespace Test
