#include "view/Json.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

namespace {

Rows rowOf(const VrfView &view, const Pax::IntfId &intfId, const Pax::IpGenAddr &address, const PimNeighbor &neighbor) {
  Rows row{{"vrf", toJson(view.vrf)}, {"interface", toJson(intfId)}, {"address", toJson(address)}};
  row["addresses"] = Rows::array();
  for (const Pax::IpGenAddr &secondary : sortedKeys(neighbor.secondary())) row["addresses"] += toJson(secondary);
  row["drPriority"] = neighbor.hasDrPriority() ? toJson(neighbor.drPriority()) : nullptr;
  row["generationId"] = neighbor.hasGenerationId() ? toJson(neighbor.generationId()) : nullptr;
  row["upTime"] = secondsBetween(neighbor.upTime(), view.now);
  row["expires"] = secondsBetween(view.now, neighbor.expires());
  return row;
}

}  // namespace

void showNeighbors(const VrfView &view, Rows &rows) {
  if (!view.pimStatus) return;
  for (const Pax::IntfId &intfId : sortedKeys(view.pimStatus->pimIntf())) {
    const auto intf = view.pimStatus->pimIntf(intfId);
    for (const Pax::IpGenAddr &address : sortedKeys(intf->neighbor())) {
      rows.push_back(rowOf(view, intfId, address, *intf->neighbor(address)));
    }
  }
}

}  // namespace Routing::Pim::Bsr
