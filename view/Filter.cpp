#include <map>

#include "view/Json.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

Rows rowOf(const VrfView &view, Rows prefix, const std::vector<std::string> &sources) {
  return {{"vrf", toJson(view.vrf)}, {"prefix", std::move(prefix)}, {"sources", sources}};
}

}  // namespace

void showFilter(const VrfView &view, Rows &rows) {
  const Offers offers = offersOf(view, Role::filter);
  std::map<Pax::IpGenPrefix, std::vector<std::string>> sources;
  if (offers.empty()) sources[Pax::allAddresses(view.af)];
  for (const Offer &offer : offers) {
    if (offer.usable()) sources[offer.prefix].push_back(offer.source.acl);
  }
  for (const auto &[prefix, acls] : sources) {
    rows.push_back(rowOf(view, toJson(prefix), acls));
    addReason(rows.back(), view.configSm && view.status->crpPermit(prefix), whyNotRunning(view));
  }
  for (const Offer &offer : offers) {
    if (offer.usable()) continue;
    rows.push_back(rowOf(view, nullptr, {offer.source.acl}));
    addReason(rows.back(), false, offer.lack);
  }
}

}  // namespace Routing::Pim::Bsr
