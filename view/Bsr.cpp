#include <algorithm>
#include <vector>

#include "engine/BsrNonCandidateSm.h"
#include "view/Json.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

namespace {

// The first ones behind the last, as many as a slice takes and one more. The global zone is always one; others are
// while they have a machine, or a BSR known from when the VRF ran.
std::vector<Pax::IpGenPrefix> zonesBehind(const VrfView &view, const Pax::IpGenPrefix &last) {
  std::vector<Pax::IpGenPrefix> zones;
  const auto add = [&](const Pax::IpGenPrefix &zone) {
    if (last < zone) zones.push_back(zone);
  };
  add(Pax::allGroups(view.af));
  for (const auto &[zone, bsr] : view.status->bootstrapRouter()) add(zone);
  for (const auto &[zone, candidate] : view.status->cbsr()) add(zone);
  if (view.bsrSm) {
    for (const auto &[zone, machine] : view.bsrSm->nonCandidateSm()) add(zone);
  }
  constexpr size_t most = 4 * (ShowCursor::slice + 1);  // each may be there four times
  const auto end = zones.begin() + static_cast<std::ptrdiff_t>(std::min(zones.size(), most));
  std::nth_element(zones.begin(), end, zones.end());
  std::sort(zones.begin(), end);
  zones.erase(std::unique(zones.begin(), end), zones.end());
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

bool showBsr(const VrfView &view, ShowCursor &cursor, Rows &rows) {
  size_t room = ShowCursor::slice;
  for (const Pax::IpGenPrefix &zone : zonesBehind(view, cursor.zone)) {
    if (room-- == 0) return true;
    cursor.zone = zone;
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
  return false;
}

}  // namespace Routing::Pim::Bsr
