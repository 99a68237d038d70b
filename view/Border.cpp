#include <map>
#include <set>

#include "view/Json.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

struct Border {
  std::set<Pax::IntfId> interfaces;
  std::set<std::string> sources;
  std::string lack;

  void add(const Offer &offer) {
    interfaces.insert(offer.source.intfId);
    sources.insert(offer.source.name());
    lack = offer.lack;
  }
};

Rows rowOf(const VrfView &view, Rows prefix, const Border &border) {
  return {{"vrf", toJson(view.vrf)},
          {"prefix", std::move(prefix)},
          {"interfaces", toJson(border.interfaces)},
          {"sources", border.sources}};
}

Rows activeOrNot(const VrfView &view, const Pax::IpGenPrefix &prefix, const Border &border) {
  const auto inForce = view.configSm ? view.status->bsBorder(prefix) : nullptr;
  bool active = false;
  std::string reason;
  for (const Pax::IntfId &intfId : border.interfaces) {
    const std::string why = whyAbsent(view, intfId);
    active = active || (why.empty() && inForce && inForce->intfId(intfId));
    if (reason.empty()) reason = why;
  }
  Rows row = rowOf(view, toJson(prefix), border);
  addReason(row, active, reason);
  return row;
}

}  // namespace

void showBorder(const VrfView &view, Rows &rows) {
  std::map<Pax::IpGenPrefix, Border> borders;
  std::map<std::string, Border> lacking;
  for (const Offer &offer : offersOf(view, Role::border)) {
    (offer.usable() ? borders[offer.prefix] : lacking[offer.source.acl]).add(offer);
  }
  for (const auto &[prefix, border] : borders) rows.push_back(activeOrNot(view, prefix, border));
  for (const auto &[acl, border] : lacking) {
    rows.push_back(rowOf(view, nullptr, border));
    addReason(rows.back(), false, border.lack);
  }
}

}  // namespace Routing::Pim::Bsr
