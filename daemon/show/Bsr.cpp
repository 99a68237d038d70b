#include <set>

#include "daemon/show/Json.h"
#include "daemon/show/Show.h"
#include "engine/BsrNonCandidateSm.h"

namespace Routing::Pim::Bsr {

namespace {

const BsrNonCandidateSm *nonCandidate(const VrfView &view, const Pax::IpGenPrefix &zone) {
  return view.bsrSm ? view.bsrSm->nonCandidateSm(zone) : nullptr;
}

/// The global zone always, others from when they are heard of until they are forgotten.
std::set<Pax::IpGenPrefix> zonesOf(const VrfView &view) {
  std::set<Pax::IpGenPrefix> zones{Pax::allGroups(view.af)};
  for (const auto &[zone, bsr] : view.status->bootstrapRouter()) zones.insert(zone);
  for (const auto &[zone, candidate] : view.status->cbsr()) zones.insert(zone);
  for (const auto &[zone, learned] : view.status->crpStatus()) {
    if (nonCandidate(view, zone)) zones.insert(zone);
  }
  return zones;
}

nlohmann::ordered_json stateOf(const VrfView &view, const Pax::IpGenPrefix &zone) {
  const auto candidate = view.status->cbsr(zone);
  if (candidate && candidate->state() != BsrCandidateState::unset) return toJson(candidate->state());
  const BsrNonCandidateSm *machine = nonCandidate(view, zone);
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
    row["elected"] = candidate && candidate->elected();
    row["upTime"] = bsr ? secondsBetween(bsr->setupTime(), view.now) : nullptr;
    row["expires"] = bsr ? secondsBetween(view.now, bsr->expiryTime()) : nullptr;
    rows.push_back(std::move(row));
  }
}

}  // namespace Routing::Pim::Bsr
