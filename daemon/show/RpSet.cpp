#include "daemon/show/Json.h"
#include "daemon/show/Show.h"

namespace Routing::Pim::Bsr {

namespace {

void showZone(const VrfView &view, const Pax::IpGenPrefix &zone, const RpCandidateStatus &learned, Rows &rows) {
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
