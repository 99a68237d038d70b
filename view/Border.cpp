#include <map>
#include <set>

#include "view/Json.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

struct Border {
  std::set<Pax::IntfId> interfaces;
  std::set<std::string> sources;
};

/// By prefix; an ACL without groups is under `lacking`, as its reason.
struct Borders {
  std::map<Pax::IpGenPrefix, Border> byPrefix;
  std::map<std::string, std::pair<Border, std::string>> lacking;
};

Borders bordersOf(const VrfView &view) {
  Borders borders;
  for (const auto &[intfId, config] : view.intfConfig) {
    const auto add = [&intfId = intfId](Border &border, const std::string &source) {
      border.interfaces.insert(intfId);
      border.sources.insert(source);
    };
    for (const Pax::IpGenPrefix &prefix : config->bsrBorderGrp().keys()) add(borders.byPrefix[prefix], "group");
    for (const std::string &acl : config->bsrBorderAcl().keys()) {
      for (const Pax::IpGenPrefix &prefix : permittedBy(view, acl).groups) add(borders.byPrefix[prefix], acl);
      const std::string lack = whyNoGroup(view, acl);
      if (lack.empty()) continue;
      auto &[border, reason] = borders.lacking[acl];
      add(border, acl);
      reason = lack;
    }
  }
  return borders;
}

Rows rowOf(const VrfView &view, Rows prefix, const Border &border) {
  Rows row{{"vrf", toJson(view.vrf)}, {"prefix", std::move(prefix)}, {"interfaces", Rows::array()}};
  for (const Pax::IntfId &intfId : border.interfaces) row["interfaces"].push_back(toJson(intfId));
  row["sources"] = border.sources;
  return row;
}

}  // namespace

void showBorder(const VrfView &view, Rows &rows) {
  const Borders borders = bordersOf(view);
  for (const auto &[prefix, border] : borders.byPrefix) {
    const auto inForce = view.configSm ? view.status->bsBorder(prefix) : nullptr;
    bool active = false;
    std::string reason;
    for (const Pax::IntfId &intfId : border.interfaces) {
      const std::string why = whyAbsent(view, intfId);
      active = active || (why.empty() && inForce && inForce->intfId(intfId));
      if (reason.empty()) reason = why;
    }
    rows.push_back(rowOf(view, toJson(prefix), border));
    addReason(rows.back(), active, reason);
  }
  for (const auto &[acl, lacking] : borders.lacking) {
    rows.push_back(rowOf(view, nullptr, lacking.first));
    addReason(rows.back(), false, lacking.second);
  }
}

}  // namespace Routing::Pim::Bsr
