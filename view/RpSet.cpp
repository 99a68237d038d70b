#include <optional>
#include <set>

#include "engine/BsrCandidateSm.h"
#include "engine/PublishedRpSet.h"
#include "view/Json.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

namespace {

// The RPs that our last message listed, by group, address and whether as bidirectional.
using Announced = std::set<std::tuple<Pax::IpGenPrefix, Pax::IpGenAddr, bool>>;

// Nothing where we are not the zone's BSR.
std::optional<Announced> announcedIn(const VrfView &view, const Pax::IpGenPrefix &zone) {
  const auto candidate = view.status->cbsr(zone);
  const BsrCandidateSm *machine = view.bsrSm ? view.bsrSm->candidateSm(zone) : nullptr;
  if (!machine || !candidate || !candidate->elected()) return std::nullopt;
  Announced announced;
  for (const auto &bsm : machine->lastBsm().all()) {
    for (const auto &group : bsm->groupData()) {
      for (const auto &rp : group->rpList()) announced.emplace(group->prefix(), rp.address, group->bidir());
    }
  }
  return announced;
}

void showZone(const VrfView &view, const Pax::IpGenPrefix &zone, const RpCandidateStatus &learned, Rows &rows) {
  const std::optional<Announced> announced = announcedIn(view, zone);
  for (const Pax::IpGenPrefix &group : sortedKeys(learned.crpSet())) {
    const auto set = learned.crpSet(group);
    const auto published = view.bsrSm ? view.bsrSm->published().setOfOwner(zone, group) : nullptr;
    for (const Pax::IpGenAddr &address : sortedKeys(set->rp())) {
      const auto rp = set->rp(address);
      rows.push_back({{"vrf", toJson(view.vrf)},
                      {"zone", toJson(zone)},
                      {"group", toJson(group)},
                      {"rp", toJson(address)},
                      {"mode", toJson(rp->pimMode())},
                      {"priority", toJson(rp->priority())},
                      {"holdTime", toJson(rp->holdTime())},
                      {"hashMaskLen", toJson(rp->hashMaskLen())},
                      {"upTime", secondsBetween(rp->setupTime(), view.now)},
                      {"expires", secondsBetween(view.now, rp->expires())},
                      {"published", published && published->rp(address)}});
      Rows &told = rows.back()["announced"];
      if (announced) told = announced->contains({group, address, rp->pimMode() == Mode::bidir});
    }
  }
}

}  // namespace

void showRpSet(const VrfView &view, Rows &rows) {
  for (const Pax::IpGenPrefix &zone : sortedKeys(view.status->crpStatus())) {
    const auto learned = view.status->crpStatus(zone)->status();
    if (learned) showZone(view, zone, *learned, rows);
  }
}

}  // namespace Routing::Pim::Bsr
