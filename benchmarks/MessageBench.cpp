// What an elected BSR does for each of its messages: make it from the zone's RP set, and cut it into fragments for an
// MTU of 1500. Compared with a bare loop that copies the RPs into one list.

#include <benchmark/benchmark.h>

#include "engine/BsmOrigination.h"
#include "engine/TxFragments.h"
#include "platform/routing/Multicast.h"

namespace {

namespace Pim = Routing::Pim;
namespace Bsr = Routing::Pim::Bsr;
using Pax::IpGenAddr;

constexpr uint32_t rpsAGroup = 50, mtu = 1500;
const Pax::IpGenPrefix zone = Pax::allGroups(Pax::AddressFamily::ipv4);

// A zone with as many RPs as the argument says, of which this router is the BSR.
struct Zone {
  explicit Zone(const benchmark::State &state) : rps(static_cast<uint32_t>(state.range(0))) {
    status->afIs(Pax::AddressFamily::ipv4);
    candidate->addressIs(IpGenAddr::v4(0x0a000001));
    candidate->priorityIs(64);
    candidate->hashMaskLenIs(30);
    candidate->bsPeriodIs(60);
    const auto sets = status->crpStatusIs(zone)->statusIs("");
    for (uint32_t n = 0; n < rps; ++n) {
      const Pax::IpGenPrefix group(IpGenAddr::v4(0xe1000000 + (n / rpsAGroup << 8)), 24);
      const auto rp = sets->crpSetIs(group)->rpIs(IpGenAddr::v4(0x0b000000 + n));
      rp->holdTimeIs(150);
      rp->expiresIs(1150);
    }
  }
  Kiv::Ptr<Pim::Packet::BootstrapMessage> message() const {
    return Bsr::BsmOrigination(*status, zone, *candidate, withdrawals).bsm(7, 64);
  }
  void perRp(benchmark::State &state) const {
    state.counters["perRp"] =
        benchmark::Counter(rps, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  }
  const uint32_t rps;
  Kiv::Ptr<Bsr::Status> status = Kiv::make<Bsr::Status>(L3::VrfName("default"));
  Kiv::Ptr<Bsr::BsrCandidate> candidate = Kiv::make<Bsr::BsrCandidate>();
  Bsr::Withdrawals withdrawals;
};

void originate(benchmark::State &state) {
  const Zone bsr(state);
  size_t groups = 0;
  for ([[maybe_unused]] auto _ : state) groups = bsr.message()->groupData().size();
  if (groups != bsr.rps / rpsAGroup) state.SkipWithError("not every group is listed");
  bsr.perRp(state);
}

// As the sender does: whole where there is room, and the others in pieces.
void fragment(benchmark::State &state) {
  const Zone bsr(state);
  const auto bsm = bsr.message();
  const std::string vrf = "default";
  const uint32_t length = Bsr::bsmHeaderLength + Bsr::bsmRpLength * bsr.rps +
                          Bsr::bsmGroupLength * static_cast<uint32_t>(bsm->groupData().size());
  size_t rps = 0;
  for ([[maybe_unused]] auto _ : state) {
    Bsr::PimBsrTxFragments fragments(mtu, bsm, length / mtu + 1);
    std::vector<Kiv::Ptr<Pim::Packet::BootstrapGroupData>> split;
    for (const auto &group : bsm->groupData()) {
      if (Bsr::doAddGroupData(zone, 0, fragments, mtu, *group, false, vrf) != 0) split.push_back(group);
    }
    for (const auto &group : split) Bsr::doAddGroupData(zone, 0, fragments, mtu, *group, true, vrf);
    rps = 0;
    for (const auto &each : fragments.fragment()) {
      for (const auto &group : each.bsm()->groupData()) rps += group->rpList().size();
    }
  }
  if (rps != bsr.rps) state.SkipWithError("not every RP is in a fragment");
  bsr.perRp(state);
}

void listBare(benchmark::State &state) {
  const Zone bsr(state);
  std::vector<Pim::Packet::BootstrapRpData> list;
  for ([[maybe_unused]] auto _ : state) {
    list.clear();
    for (const auto &[prefix, set] : bsr.status->crpStatus(zone)->status()->crpSet()) {
      for (const auto &[address, rp] : set->rp()) list.push_back({address, rp->holdTime(), 0});
    }
    benchmark::DoNotOptimize(list.data());
  }
  bsr.perRp(state);
}

void sizes(benchmark::internal::Benchmark *bench) { bench->Arg(100)->Arg(1000)->Arg(10000); }
BENCHMARK(originate)->Apply(sizes);
BENCHMARK(fragment)->Apply(sizes);
BENCHMARK(listBare)->Apply(sizes);

}  // namespace
