#include "daemon/show/Json.h"
#include "daemon/show/Show.h"

namespace Routing::Pim::Bsr {

namespace {

Rows bordersOf(const Status &status, const Pax::IntfId &intfId) {
  Rows prefixes = Rows::array();
  for (const Pax::IpGenPrefix &prefix : sortedKeys(status.bsBorder())) {
    if (status.bsBorder(prefix)->intfId(intfId)) prefixes.push_back(toJson(prefix));
  }
  return prefixes;
}

}  // namespace

void showInterfaces(const VrfView &view, Rows &rows) {
  if (!view.pimStatus) return;
  for (const Pax::IntfId &intfId : sortedKeys(view.pimStatus->pimIntf())) {
    const auto intf = view.pimStatus->pimIntf(intfId);
    rows.push_back({{"vrf", toJson(view.vrf)},
                    {"interface", toJson(intfId)},
                    {"address", toJson(intf->address())},
                    {"mtu", toJson(intf->mtu())},
                    {"dr", toJson(intf->dr())},
                    {"isDr", toJson(intf->isDr())},
                    {"neighbors", intf->neighbor().size()},
                    {"border", bordersOf(*view.status, intfId)}});
  }
}

}  // namespace Routing::Pim::Bsr
