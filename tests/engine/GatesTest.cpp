// The gates between the packet channel and the engine: the order of their tests, what passes, and every
// counter of it.

#include <gtest/gtest.h>

#include <functional>

#include "engine/PimBsrTrieBuilder.h"
#include "io/PimBsrCrpPermitTrieBuilderSm.h"
#include "tests/support/Counts.h"
#include "tests/support/TestVrf.h"

namespace Test {
namespace {

using BsmPtr = Kiv::Ptr<Pim::Packet::BootstrapMessage>;

// A VRF with eth1, whose neighbor is the way to host(1).
struct Router : TestVrf {
  explicit Router(const Addresses &addresses) : TestVrf(addresses) {
    intfIs(1);
    routeIs(a.host(1), 1);
  }
  Counts counts() const {
    Counts all = countsOf(port->counters());
    all.merge(countsOf(counters()));
    return all;
  }
  // Every counter that grows meanwhile.
  template <class Action>
  Counts counted(const Action &action) const {
    const Counts before = counts();
    action();
    return grown(before, counts());
  }
  // From the neighbor, whatever the BSR.
  Counts countsOfHearing(const BsmPtr &bsm) const {
    return counted([&] { port->hear(intf(1), neighbor(1), Pax::allPimRouters(a.af), *bsm); });
  }
  BsmPtr bsm() const { return Bsm(a.host(1)).group(a.group(1), {{a.host(9), 150, 0}}); }
};

struct Gates : testing::TestWithParam<Addresses> {
  const Addresses a = GetParam();
  Router r{a};
};

const Counts taken{{"received", 1}, {"rx", 1}, {"rxSuccess", 1}, {"rxBsm", 1}, {"rxBsmSuccess", 1}};
const Counts sent{{"sent", 1}, {"tx", 1}, {"txSuccess", 1}}, failed{{"sendFailed", 1}, {"tx", 1}, {"txError", 1}};
const Counts adopted{{"rx", 1}, {"rxSuccess", 1}, {"rxCrpAdv", 1}, {"rxCrpAdvSuccess", 1}};
const Counts denied{{"rx", 1},     {"rxError", 1},     {"rxCrpAdv", 1}, {"rxCrpAdvError", 1},
                    {"denied", 1}, {"deniedCrpAdv", 1}};
Counts dropped(const char *reason) {
  return {{"received", 1}, {"rx", 1}, {"rxError", 1}, {"rxBsm", 1}, {"rxBsmError", 1}, {reason, 1}};
}

// A message that fails no test yet.
struct Arrival {
  Router &r;
  BsmPtr bsm = r.bsm();
  Pax::IpGenPrefix zone = r.a.global();
  Pax::IntfId intfId = r.intf(1);
  Pax::IpGenAddr source = r.neighbor(1), destination = Pax::allPimRouters(r.a.af);
};
// What it may be, or find: most of these fail one test of the Bootstrap gate.
using Change = std::function<void(Arrival &)>;
const Change unicast = [](Arrival &m) { m.destination = m.r.a.onLink(1); };
const Change elsewhere = [](Arrival &m) { m.destination = m.r.a.group(1).address(); };
const Change known = [](Arrival &m) { m.r.hear(m.r.bsm()), m.bsm->forwardIs(false); };
const Change scopeKnown = [](Arrival &m) { m.r.hear(Bsm(m.r.a.host(2)).scope(m.r.a.scope(5))); };
const Change noWay = [](Arrival &m) { m.r.routes->answer.clear(); };
const Change stranger = [](Arrival &m) { m.source = m.r.a.onLink(77); };
const Change otherLink = [](Arrival &m) { m.intfId = m.r.intf(2); };
const Change scoped = [](Arrival &m) { m.bsm = Bsm(m.r.a.host(1)).scope(m.zone = m.r.a.scope(5)); };
const Change scopeWithoutZ = [](Arrival &m) { m.bsm = Bsm(m.r.a.host(1)).group(m.r.a.scope(5), {}); };
const Change scopeSecond = [](Arrival &m) {
  m.bsm = Bsm(m.r.a.host(1)).group(m.r.a.group(1), {}).scope(m.r.a.scope(5));
};
Change noForwardAfter(double seconds) {
  return [=](Arrival &m) { m.bsm->forwardIs(false), m.r.advance(seconds); };
}
Change candidate(uint32_t period) {
  return [=](Arrival &m) { m.r.status->cbsrIs(m.r.a.global())->bsPeriodIs(period); };
}
const Change late = noForwardAfter(60.5);
const Change border = [](Arrival &m) {
  for (uint32_t n : {1, 2}) m.r.status->bsBorderIs(m.r.a.global())->intfIdIs(m.r.intf(n));
};
const Change otherBorder = [](Arrival &m) { m.r.status->bsBorderIs(m.r.a.global())->intfIdIs(m.r.intf(2)); };
const Change scopeBorder = [](Arrival &m) { m.r.status->bsBorderIs(m.r.a.scope(5))->intfIdIs(m.r.intf(1)); };

TEST_P(Gates, TheFirstTestThatABootstrapMessageFailsCountsAndNothingElseChanges) {
  const struct {
    const char *reason;  // null for one that passes
    std::vector<Change> changes;
    const char *trace = "";
  } rows[] = {
      // Neighboring tests in pairs.
      {"unicastBsm", {unicast, late}},
      {"unicastBsm", {unicast, noWay}},
      {"unknownDest", {known, elsewhere}},
      {"unknownDest", {elsewhere, stranger}},
      {"noFwdBsm", {late, border}, "lastBsm=Set, TimeSince startup=60.5, bsPeriod=60"},
      {"noFwdBsm", {known, border}, "lastBsm=NULL, TimeSince startup=0, bsPeriod=60"},
      {"rpf", {noWay, border}},
      {"rpf", {stranger, border}},
      {"rpf", {otherLink, border}},
      {"denied", {border}},
      // A no-forward message within one period of its zone.
      {nullptr, {scopeKnown, noWay, noForwardAfter(60)}},
      {nullptr, {candidate(0), noForwardAfter(60)}},
      {nullptr, {candidate(20), noForwardAfter(20)}},
      {"noFwdBsm", {candidate(20), noForwardAfter(20.5)}, "TimeSince startup=20.5, bsPeriod=20"},
      {nullptr, {candidate(100), noForwardAfter(100)}},
      // The zone is the first block's if that has Z.
      {nullptr, {otherBorder}},
      {nullptr, {scopeBorder}},
      {nullptr, {scoped, border}},
      {"denied", {scoped, scopeBorder}},
      {nullptr, {scopeSecond, scopeBorder}},
      {nullptr, {scopeWithoutZ, scopeBorder}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(&row - rows);
    Router router(a);
    router.routeIs(a.host(2), 1);
    router.pimStatus->pimIntfIs(router.intf(2));  // PIM is on there, without a neighbor
    Arrival m{router};
    for (const Change &change : row.changes) change(m);
    const auto last = router.sm->bsrIOSm().lastBsm(m.zone);
    const auto bsr = router.bsr(m.zone);
    const Tracelet::CaptureSink traces(1);
    EXPECT_EQ(router.counted([&] { router.port->hear(m.intfId, m.source, m.destination, *m.bsm); }),
              row.reason         ? dropped(row.reason)
              : m.bsm->forward() ? taken + sent
                                 : taken);
    EXPECT_EQ(router.sm->bsrIOSm().lastBsm(m.zone) == last, row.reason != nullptr);
    const bool waits = router.status->cbsr(m.zone) != nullptr;  // for the candidate's other attributes
    EXPECT_EQ(router.bsr(m.zone) == bsr, row.reason || waits);
    EXPECT_EQ(traces.count(row.trace), row.reason ? 1u : 0u);
  }
}

TEST_P(Gates, AStartCountsAnewWhatIsOfAllMessagesAndCountersThatComeAreTaken) {
  Bsr::PimBsrCounters &counters = *r.status->counters();
  for (const auto &[name, count] : countsOf(counters)) counters.attributeIs(name, uint64_t{7});
  counters.errCountersIs({7, 7, 7, 7, 7, 7});
  r.stop();
  const Tracelet::CaptureSink traces;
  r.start();
  for (const auto &[name, count] : countsOf(counters)) {
    EXPECT_EQ(count, name.starts_with("rxBsm") || name.starts_with("rxCrpAdv") ? 7 : 0) << name;
  }
  r.status->countersDel();
  r.hear(r.bsm());
  r.hearCrp(7, a.host(50), {});
  r.status->countersIs("BsrCounters");
  EXPECT_EQ(r.countsOfHearing(r.bsm()), taken + sent);
  EXPECT_EQ(r.counted([&] { r.hearCrp(7, a.host(50), {}); }),
            (adopted + Counts{{"received", 1}, {"rxError", 1}, {"rxCrpAdvError", 1}, {"notBsr", 1}}));
  for (const char *handler : {"BootstrapMessageSm::handleInitialize()", "BootstrapMessageSm::handleTransmission()",
                              "CrpMessageSm::handleInitialize()", "CrpMessageSm::handleCrpAdvMessage()"}) {
    EXPECT_TRUE(traces.contains(std::string("<Vrf:default>void Routing::Pim::Bsr::") + handler)) << handler;
  }
}

TEST_P(Gates, WhatIsSentCountsAsSentOrFailedAndWhatWeTellOurselvesAsNeither) {
  r.status->crpIs(a.host(7))->prefixOptionsIs(a.group(1))->priorityIs(10);
  r.status->crp(a.host(7))->prefixSetIs(a.group(1));
  r.hear(r.bsm());
  r.advance(30);
  const auto anInterval = [&] { return r.counted([&] { r.advance(60); }); };
  EXPECT_EQ(anInterval(), sent);
  EXPECT_EQ(r.port->advertised.back()->destination(), a.host(1));
  r.hear(r.bsm());
  r.port->broken = true;
  const Tracelet::CaptureSink traces(1);
  EXPECT_EQ(anInterval(), failed);
  EXPECT_EQ(traces.count("<Vrf:default>TX - Error sending CRP Advertisement"), 1u);
  EXPECT_EQ(r.countsOfHearing(r.bsm()), taken + failed);
  r.port->broken = false;
  r.candidateIs(a.global(), 7, 255);
  r.advance(300);
  EXPECT_EQ(anInterval(), (sent + adopted + Counts{{"txSuccess", 1}}));
  EXPECT_EQ(r.rps(a.global(), a.group(1)), std::vector{a.host(7)});
  for (const Pax::IpGenPrefix &everybody : r.status->crpPermit().keys()) r.status->crpPermitDel(everybody);
  EXPECT_EQ(anInterval(), (sent + denied + Counts{{"txSuccess", 1}}));
}

TEST_P(Gates, AnAdvertisementIsJudgedByItsSourceAndAllItsRangesTaken) {
  r.candidateIs(a.global(), 50, 64);
  r.advance(11);
  const auto hear = [&](uint32_t rp, const std::vector<Pim::Packet::CrpGroup> &groups, uint32_t bsr = 50) {
    return r.counted([&] { r.hearCrp(rp, a.host(bsr), groups); });
  };
  const Pax::IpGenPrefix all = r.status->crpPermit().keys().front(), some(a.host(0), 24);
  const Counts received{{"received", 1}}, notBsr{{"rxError", 1}, {"rxCrpAdvError", 1}, {"notBsr", 1}};
  r.status->crpPermitIs(Pax::IpGenPrefix::host(a.host(7)), true);
  r.status->crpPermitDel(all);
  EXPECT_EQ(hear(8, {{a.group(1)}}), denied + received);
  EXPECT_EQ(r.rps(a.global(), a.group(1)), std::nullopt);
  EXPECT_EQ(hear(7, {{a.group(1)}, {a.group(2), false, true}, {a.group(3)}}), adopted + received);
  for (uint32_t n : {1, 2, 3}) EXPECT_EQ(r.rps(a.global(), a.group(n)), std::vector{a.host(7)});
  EXPECT_EQ(hear(7, {{a.group(1)}, {a.group(2)}}, 51), adopted + received + notBsr + notBsr) << "not to us";
  Pim::Packet::CrpAdvMessage ofAnother;  // the filter is for sources
  ofAnother.rpAddressIs(a.host(8));
  EXPECT_EQ(r.counted([&] { r.port->hear(r.intf(1), a.host(7), a.host(50), ofAnother); }), adopted + received);
  r.status->crpPermitIs(some, true);
  EXPECT_EQ(hear(8, {}), adopted + received);
  EXPECT_EQ(r.rps(a.global(), a.global()), std::vector{a.host(8)}) << "no range means all";
  r.status->crpPermitDel(some);
  EXPECT_EQ(hear(8, {}), denied + received);
}

TEST_P(Gates, TheTriesCountTheirUpdates) {
  const auto status = Kiv::make<Bsr::Status>(L3::VrfName("default"));
  const auto permitted = Kiv::make<Routing::TrieGen>("permitted", a.af), zones = Kiv::make<Routing::TrieGen>("", a.af);
  for (uint32_t n : {1, 2}) status->crpPermitIs(Pax::IpGenPrefix::host(a.host(n)), true);
  const Bsr::PimBsrCrpPermitTrieBuilderSm permits(status, permitted);
  EXPECT_EQ(permits.trieUpdates(), 4u) << "two for each that was there";
  status->crpPermitIs(Pax::IpGenPrefix::host(a.host(3)), true);
  status->crpPermitDel(Pax::IpGenPrefix::host(a.host(1)));
  EXPECT_EQ(permits.trieUpdates(), 6u);
  status->bootstrapRouterIs(a.global());
  const Bsr::PimBsrTrieBuilderSm bsrs(status, zones);
  EXPECT_EQ(bsrs.trieUpdates(), 1u);
  status->bootstrapRouterIs(a.scope(5))->ipAddrIs(a.host(1));
  status->bootstrapRouterDel(a.global());
  EXPECT_EQ(bsrs.trieUpdates(), 3u) << "a change of address is none";
}

FOR_BOTH_FAMILIES(Gates);

TEST(Weight, IsReadBackFromItsText) {
  const Bsr::CrpOptions options(ipv4.host(1), 5);
  const Bsr::PimBsrWeight weight(255, ipv6.host(1));
  EXPECT_EQ(options.toString(), "Value('Routing::Pim::Bsr::CrpOptions', ** {'rpAddress': 10.0.0.1, 'priority': 5})");
  EXPECT_EQ(Bsr::CrpOptions(options.toString()), options);
  EXPECT_EQ(Bsr::PimBsrWeight(weight.toString()), weight);
  EXPECT_THROW(Bsr::CrpOptions(weight.toString()), Kiv::RangeError);
}

TEST(WeightDeathTest, FamiliesCompareByPriorityAlone) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_LT(Bsr::PimBsrWeight(4, ipv6.host(1)), Bsr::PimBsrWeight(5, ipv4.host(1)));
  EXPECT_DEATH((void)(Bsr::PimBsrWeight(5, ipv4.host(1)) < Bsr::PimBsrWeight(5, ipv6.host(1))),
               "Assertion failed: ipAddr\\(\\) \\.af\\(\\) == weight\\.ipAddr\\(\\)\\.af\\(\\)");
}

}  // namespace
}  // namespace Test
