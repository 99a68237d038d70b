#include <set>

#include "engine/BsrNonCandidateSm.h"
#include "view/Json.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

namespace {

// The global zone always, others while they have a machine, or a BSR known from when the VRF ran.
std::set<Pax::IpGenPrefix> zonesOf(const VrfView &view) {
  std::set<Pax::IpGenPrefix> zones{Pax::allGroups(view.af)};
  for (const auto &[zone, bsr] : view.status->bootstrapRouter()) zones.insert(zone);
  for (const auto &[zone, candidate] : view.status->cbsr()) zones.insert(zone);
  if (view.bsrSm) {
    for (const auto &[zone, machine] : view.bsrSm->nonCandidateSm()) zones.insert(zone);
  }
  return zones;
}

// Null in a VRF without machines.
nlohmann::ordered_json stateOf(const VrfView &view, const Pax::IpGenPrefix &zone) {
  if (!view.bsrSm) return nullptr;
  const auto candidate = view.status->cbsr(zone);
  if (candidate && candidate->state() != BsrCandidateState::unset) return toJson(candidate->state());
  const BsrNonCandidateSm *machine = view.bsrSm->nonCandidateSm(zone);
  return toJson(machine ? machine->state() : BsrNonCandidateState::noInfo);
}

}  // namespace

void showBsr(const VrfView &view, Rows &rows) {
  for (const Pax::IpGenPrefix &zone : zonesOf(view)) {
    const auto bsr = view.status->bootstrapRouter(zone);
    const auto candidate = view.status->cbsr(zone);
    Rows row{{"vrf", toJson(view.vrf)}, {"zone", toJson(zone)}};
    row["address"] = bsr ? toJson(bsr->ipAddr()) : nullptr;
    row["priority"] = bsr ? toJson(bsr->priority()) : nullptr;
    row["hashMaskLen"] = bsr ? toJson(bsr->hashMaskLen()) : nullptr;
    row["state"] = stateOf(view, zone);
    row["elected"] = view.bsrSm && candidate && candidate->elected();
    row["upTime"] = bsr ? secondsBetween(bsr->setupTime(), view.now) : nullptr;
    row["expires"] = bsr ? secondsBetween(view.now, bsr->expiryTime()) : nullptr;
    rows.push_back(std::move(row));
  }
}

}  // namespace Routing::Pim::Bsr
