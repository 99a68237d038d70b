#include "view/Json.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

Rows bordersOf(const VrfView &view, const Pax::IntfId &intfId) {
  Rows prefixes = Rows::array();
  for (const Pax::IpGenPrefix &prefix : sortedKeys(view.status->bsBorder())) {
    if (view.status->bsBorder(prefix)->intfId(intfId)) prefixes.push_back(toJson(prefix));
  }
  return prefixes;
}

Rows rowOf(const VrfView &view, const Pax::IntfId &intfId) {
  const auto intf = view.pimStatus ? view.pimStatus->pimIntf(intfId) : nullptr;
  const bool hasPim = std::ranges::find(view.pimInterfaces, intfId) != view.pimInterfaces.end();
  const std::string reason = intf ? "" : hasPim ? whyPimOff(view, intfId) : "PIM is not configured there";
  return {{"vrf", toJson(view.vrf)},
          {"interface", toJson(intfId)},
          {"state", intf ? "on" : "off"},
          {"reason", reason.empty() ? Rows() : Rows(reason)},
          {"address", intf ? toJson(intf->address()) : nullptr},
          {"mtu", intf ? toJson(intf->mtu()) : nullptr},
          {"dr", intf ? toJson(intf->dr()) : nullptr},
          {"isDr", intf && intf->isDr()},
          {"neighbors", intf ? intf->neighbor().size() : 0},
          {"refused", intf ? intf->helloRefused() : 0},
          {"border", bordersOf(view, intfId)}};
}

}  // namespace

void showInterfaces(const VrfView &view, Rows &rows) {
  std::vector<Pax::IntfId> interfaces = view.pimInterfaces;
  for (const auto &[intfId, config] : view.intfConfig) interfaces.push_back(intfId);
  std::sort(interfaces.begin(), interfaces.end());
  interfaces.erase(std::unique(interfaces.begin(), interfaces.end()), interfaces.end());
  for (const Pax::IntfId &intfId : interfaces) rows.push_back(rowOf(view, intfId));
}

}  // namespace Routing::Pim::Bsr
