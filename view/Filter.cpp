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
  std::map<Pax::IpGenPrefix, std::vector<std::string>> sources;
  std::map<std::string, std::string> lacking;
  if (view.config->crpFilterAcl().empty()) sources[Pax::allAddresses(view.af)];
  for (const std::string &acl : sortedKeys(view.config->crpFilterAcl())) {
    for (const Pax::IpGenPrefix &prefix : permittedBy(view, acl).unicast) sources[prefix].push_back(acl);
    if (const std::string lack = whyNobody(view, acl); !lack.empty()) lacking[acl] = lack;
  }
  for (const auto &[prefix, acls] : sources) {
    rows.push_back(rowOf(view, toJson(prefix), acls));
    addReason(rows.back(), view.configSm && view.status->crpPermit(prefix), whyNotRunning(view));
  }
  for (const auto &[acl, lack] : lacking) {
    rows.push_back(rowOf(view, nullptr, {acl}));
    addReason(rows.back(), false, lack);
  }
}

}  // namespace Routing::Pim::Bsr
