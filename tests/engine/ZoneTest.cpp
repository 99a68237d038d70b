// The two machines of a zone against a plain model of the election, in random histories.

#include <gtest/gtest.h>

#include <random>

#include "tests/support/TestVrf.h"
#include "tests/support/ZoneModel.h"

namespace Test {
namespace {

// A VRF with a global and a scoped zone, and the model of each, living through the same history.
class Zones : public testing::TestWithParam<unsigned> {
 protected:
  Zones() { v.pimStatus->pimIntfIs(v.intfIs(1))->isDrIs(true); }

  void somethingHappens() {
    zone = pick(2);
    switch (pick(25)) {
      case 0: return changeCandidate();
      case 7: return clearFamily();
      case 1: return restart();
      case 2: return changeTimeouts();
      case 3:
      case 4: return changeAttribute();
      case 5:
      case 6: return changeLink();
      default: pick(3) == 0 ? hearCrp() : hear(pick(5) == 0 ? 8 : 1);
    }
  }
  uint32_t pick(uint32_t n) { return static_cast<uint32_t>(random() % n); }
  template <class Value>
  Value oneOf(std::initializer_list<Value> values) {
    return *(values.begin() + pick(static_cast<uint32_t>(values.size())));
  }
  Pax::IpGenPrefix range() { return zone == 0 ? v.a.group(1 + pick(2)) : v.a.inScope(5, 1 + pick(2)); }
  unsigned priority() { return oneOf({0u, 1u, 60u, 64u, 64u, 64u, 65u, 255u}); }
  // Neighboring addresses, and addresses far apart.
  uint32_t ownHost() { return oneOf({50u, 0x30000000u, 0xb0000000u}); }
  uint32_t otherHost() { return oneOf({49u, 51u, 0x2fffffffu, 0x30000001u, 0x70000000u, 0xd0000000u}); }

  Bsm message() {
    const auto &[bsr, own] = std::tie(models[zone].bsr, models[zone].own);
    Pax::IpGenAddr address = bsr && pick(2) == 0 ? bsr->address : v.a.host(otherHost());
    if (own && !own->address.isZero() && pick(20) == 0) address = own->address;
    Bsm bsm(address, static_cast<uint8_t>(bsr && pick(3) == 0 ? bsr->priority : priority()));
    bsm.tag(tag += oneOf<uint16_t>({0, 0, 1})).hashMaskLen(oneOf<uint8_t>({0, 24, 30, 129}));
    if (zone != 0) bsm.scope(zones[zone]);
    std::vector<Bsm::Rp> rps;
    for (uint32_t n = 7, end = 7 + pick(4); n < end; ++n)
      rps.push_back({v.a.host(n), oneOf<uint16_t>({0, 20, 90, 150, 400}), 0});
    bsm.group(range(), rps);
    return pick(4) == 0 ? bsm.noForward() : bsm;
  }
  static ZoneMessage messageOf(const Pim::Packet::BootstrapMessage &bsm) {
    ZoneMessage message{{bsm.bsrAddress(), bsm.priority(), bsm.hashMaskLen()}, bsm.forward(), bsm.fragmentTag()};
    for (const auto &group : bsm.groupData()) {
      for (const auto &rp : group->rpList()) message.holdTimes[{group->prefix(), rp.address}] = rp.holdTime;
    }
    return message;
  }
  void hear(uint32_t times) {
    const Kiv::Ptr<Pim::Packet::BootstrapMessage> bsm = message();
    const auto &own = models[zone].own;
    const bool isQuick = v.time.now() - started <= (own && own->period != 0 ? own->period : 60);
    for (; times > 0 && models[zone].linked; --times) {
      v.hear(bsm);
      if (!bsm->forward() && (heard[zone] || !isQuick)) return;
      heard[zone] = true;
      models[zone].hear(messageOf(*bsm));
    }
  }

  // What the configuration and the test have set in the status.
  std::optional<ZoneBsr> candidate(uint32_t n) {
    const auto candidate = v.status->cbsr(zones[n]);
    if (!candidate) return std::nullopt;
    return {{candidate->address(), candidate->priority(), candidate->hashMaskLen(), candidate->bsPeriod()}};
  }
  void adoptTimeouts() {
    for (ZoneModel &model : models) {
      model.bsTimeout = v.status->bsTimeout();
      model.szTimeout = v.status->szTimeout();
    }
  }

  void changeAttribute() {
    const auto entity = v.status->cbsr(zones[zone]);
    if (!entity) return;
    const bool unset = pick(8) == 0;
    switch (pick(4)) {
      case 0: entity->priorityIs(static_cast<uint16_t>(unset ? 256 : priority())); break;
      case 1: entity->hashMaskLenIs(unset ? 128 : oneOf({0u, 24u, 30u})); break;
      case 2: entity->bsPeriodIs(unset ? 0 : oneOf({8u, 20u, 60u, 130u})); break;
      case 3: entity->addressIs(unset ? Pax::IpGenAddr() : v.a.host(ownHost()));
    }
    models[zone].candidateIs(*candidate(zone));
  }
  void changeTimeouts() {
    v.status->bsTimeoutIs(oneOf({12u, 60u, 130u, 200u}));
    v.status->szTimeoutIs(oneOf({50u, 400u, 1300u}));
    adoptTimeouts();
    for (ZoneModel &model : models) model.shorten();
  }
  void changeCandidate() {
    if (v.status->cbsr(zones[zone])) {
      v.candidateDel(zones[zone]);
      return models[zone].candidateDel();
    }
    v.candidateIs(zones[zone], ownHost(), static_cast<uint16_t>(priority()), oneOf({8u, 60u, 130u}));
    models[zone].candidateIs(*candidate(zone));
  }
  void restart() {
    v.stop();
    v.advance(oneOf({0u, 10u, 200u}));
    if (pick(2) == 0) linkIs(false);
    v.start();
    adoptTimeouts();
    started = v.time.now();
    for (const uint32_t n : {0, 1}) {
      heard[n] = false;
      models[n].now = started;
      models[n].restart(candidate(n));
    }
  }

  // The engine ends everything, advertisers too, and begins again.
  void clearFamily() {
    v.status->crpIs(v.a.host(6))->prefixOptionsIs(v.a.group(9))->priorityIs(1);
    const auto &engine = v.sm->bsrSm();
    EXPECT_EQ(engine.rpCandidateSm().size(), 1u);
    v.status->afIs(Pax::AddressFamily::unknown);
    EXPECT_TRUE(engine.rpCandidateSm().empty() && !engine.candidateSm(zones[0]) && !engine.nonCandidateSm(zones[0]));
    v.status->crpDel(v.a.host(6));
    v.status->afIs(v.a.af);
    for (const uint32_t n : {0, 1}) {
      if (models[n].elected) models[n].bsr.reset();
      models[n].restart(candidate(n));
    }
  }

  void linkIs(bool linked) {
    const auto pimIntf = v.pimStatus->pimIntf(v.intf(1));
    linked ? void(pimIntf->neighborIs(v.neighbor(1))) : pimIntf->neighborDel(v.neighbor(1));
    for (ZoneModel &model : models) model.linked = linked;
  }
  // The neighbor goes, or is greeted.
  void changeLink() {
    if (pick(4) == 0) return linkIs(false);
    linkIs(true);
    for (ZoneModel &model : models) model.helloSent();
    v.pimStatus->pimIntf(v.intf(1))->triggeredHelloSentInc();
  }

  void hearCrp() {
    if (!models[zone].elected) return;
    const uint32_t rp = 7 + pick(2);
    const RpKey key{range(), v.a.host(rp)};
    const auto holdTime = oneOf<uint16_t>({0, 0, 50, 150, 151});
    v.hearCrp(rp, models[zone].own->address, {{key.first}}, holdTime);
    models[zone].hearCrp(key, holdTime);
  }

  // Looks just before something is due, when it is, and at the end.
  void advance(double seconds) {
    const double until = v.time.now() + seconds;
    for (double next = 0; !HasFatalFailure();) {
      next = std::min(models[0].next(), models[1].next());
      if (next > until) break;
      if (next > v.time.now()) look(next - 1.0 / 8192);
      look(std::max(next, v.time.now()));
    }
    look(until);
  }
  void look(double time) {
    v.time.advanceTo(time);
    for (zone = 0; zone < 2; ++zone) {
      models[zone].runUntil(time);
      ASSERT_EQ(view(), models[zone].view()) << "at " << line(time);
      models[zone].sent.clear();
    }
    v.port->sent.clear();
  }

  std::multiset<std::string> view() {
    std::multiset<std::string> lines;
    const auto *machine = v.sm->bsrSm().candidateSm(zones[zone]);
    if (machine) lines.insert(line(machine->candidate()->state(), machine->candidate()->elected()));
    if (v.machine(zones[zone])) lines.insert(line(v.machine(zones[zone])->state(), false));
    if (lines.empty()) lines.insert(line("gone", false));
    if (const auto bsr = v.bsr(zones[zone])) {
      lines.insert(
          line("BSR", bsr->ipAddr(), bsr->priority(), bsr->hashMaskLen(), bsr->setupTime(), bsr->expiryTime()));
    }
    if (const auto status = v.status->crpStatus(zones[zone])) {
      for (const auto &[prefix, set] : status->status()->crpSet()) {
        const auto published = v.published->crpSet(prefix);
        for (const auto &[address, learned] : set->rp()) {
          const auto rp = v.bsr(zones[zone]) && published ? published->rp(address) : learned;
          lines.insert(line(prefix, address, rp->holdTime(), rp->hashMaskLen(), rp->setupTime(), rp->expires()));
        }
      }
    }
    for (const auto &[intfId, bsm, bytes] : v.port->sent) {
      const auto &groups = bsm->groupData();
      if ((!groups.empty() && groups.front()->adminScope()) != (zone != 0)) continue;
      lines.insert(messageOf(*bsm).text());
    }
    return lines;
  }

  TestVrf v{GetParam() % 2 == 0 ? ipv4 : ipv6, GetParam()};
  std::mt19937 random{GetParam()};
  const Pax::IpGenPrefix zones[2]{v.a.global(), v.a.scope(5)};
  ZoneModel models[2]{{true, v.a.ipv4(), v.time.now()}, {false, v.a.ipv4(), v.time.now()}};
  bool heard[2]{};  // since the start
  double started = v.time.now();
  unsigned tag = 0;
  uint32_t zone = 0;
};

TEST_P(Zones, DoWhatThePlainModelDoes) {
  for (int step = 0; step < 1000 && !HasFatalFailure(); ++step) {
    SCOPED_TRACE(step);
    somethingHappens();
    advance(0);
    // No two steps share the fraction of their second, so no two timers of different steps coincide.
    const uint32_t most[] = {1, 3, 15, 70, 150, 500};
    advance(pick(most[std::min(pick(6), pick(6))]) + 1.0 / 4096);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Zones, testing::Range(1u, 41u), testing::PrintToStringParamName());

}  // namespace
}  // namespace Test
