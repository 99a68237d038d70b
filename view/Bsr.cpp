#include <map>

#include "view/Rpf.h"
#include "view/Show.h"
#include "view/ZoneView.h"

namespace Routing::Pim::Bsr {

namespace {

Rows rowOf(const VrfView &view, const ZoneView &zone) {
  Rows row{{"vrf", toJson(view.vrf)}, {"zone", toJson(zone.zone)}};
  row["address"] = zone.bsr ? toJson(zone.bsr->ipAddr()) : nullptr;
  row["priority"] = zone.bsr ? toJson(zone.bsr->priority()) : nullptr;
  row["hashMaskLen"] = zone.bsr ? toJson(zone.bsr->hashMaskLen()) : nullptr;
  row["state"] = zone.state();
  row["elected"] = zone.isOwn();
  row["upTime"] = zone.bsr ? secondsBetween(zone.bsr->setupTime(), view.now) : nullptr;
  row["expires"] = secondsBetween(view.now, zone.expires());
  row["nextBsm"] = secondsBetween(view.now, zone.nextBsm());
  const HeardBsr *last = zone.lastHeard();
  row["lastBsmFrom"] = last ? toJson(last->neighbor) : nullptr;
  row["lastBsmAt"] = secondsBetween(zone.lastBsmAt(), view.now);
  return row;
}

}  // namespace

bool showBsr(const VrfView &view, ShowCursor &cursor, Rows &rows) {
  std::map<Pax::IpGenAddr, Pax::IpGenAddr> rpfNeighbors;  // most zones share their BSR
  size_t room = ShowCursor::slice;
  for (const Pax::IpGenPrefix &prefix : zonesBehind(view, cursor.zone)) {
    if (room-- == 0) return true;
    cursor.zone = prefix;
    const ZoneView zone(view, prefix);
    rows.push_back(rowOf(view, zone));
    const Pax::IpGenAddr bsr = zone.bsr && !zone.isOwn() ? zone.bsr->ipAddr() : Pax::IpGenAddr();
    const auto [known, isNew] = rpfNeighbors.try_emplace(bsr);
    if (isNew) known->second = rpfTowards(view, bsr).neighbor;
    rows.back()["rpfNeighbor"] = toJson(known->second);
  }
  return false;
}

}  // namespace Routing::Pim::Bsr
