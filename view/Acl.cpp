#include <algorithm>
#include <map>

#include "view/Json.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

// By ACL, including those that are not defined.
using Users = std::map<std::string, Sources>;

const char *textOf(Role role) {
  switch (role) {
    case Role::border: return "border";
    case Role::candidateBsr: return "candidate-bsr";
    case Role::candidateRp: return "candidate-rp";
    default: return "filter";
  }
}

Users usersOf(const VrfView &view) {
  Users users;
  for (Source &source : sourcesOf(view)) {
    if (source.isAcl()) users[source.acl].push_back(std::move(source));
  }
  for (auto &[acl, sources] : users) {
    std::sort(sources.begin(), sources.end(),
              [](const Source &a, const Source &b) { return std::tie(a.role, a.intfId) < std::tie(b.role, b.intfId); });
  }
  return users;
}

Rows rulesOf(const VrfView &view, const std::string &acl) {
  Rows rules = Rows::array();
  const auto config = view.ipAclConfig->acl(acl);
  if (!config || !config->currCfg()) return rules;
  const auto &bySequence = config->currCfg()->ruleBySequence();
  for (const uint32_t sequence : sortedKeys(bySequence)) rules.push_back(Kiv::toText(*bySequence.find(sequence)));
  return rules;
}

std::string whyIdle(const VrfView &view, const std::string &acl, const std::optional<PermittedPrefixes> &permitted,
                    const Sources &users) {
  for (const Source &user : users) {
    const std::string lack = whyUseless(user.role, acl, permitted);
    if (!lack.empty()) return lack;
  }
  return users.empty() ? "not used in this VRF" : whyNotRunning(view);
}

}  // namespace

void showAcl(const VrfView &view, Rows &rows) {
  Users all = usersOf(view);
  for (const std::string &acl : view.ipAclConfig->acl().keys()) all[acl];
  for (const auto &[acl, users] : all) {
    const auto permitted = permittedBy(view, acl);
    const PermittedPrefixes prefixes = permitted.value_or(PermittedPrefixes());
    Rows row{{"vrf", toJson(view.vrf)},
             {"acl", acl},
             {"exists", permitted.has_value()},
             {"rules", rulesOf(view, acl)},
             {"groups", toJson(prefixes.groups)},
             {"unicast", toJson(prefixes.unicast)},
             {"users", Rows::array()}};
    for (const Source &user : users) {
      row["users"].push_back(
          {{"role", textOf(user.role)}, {"interface", user.intfId.isEmpty() ? Rows() : toJson(user.intfId)}});
    }
    const std::string why = whyIdle(view, acl, permitted, users);
    addReason(row, why.empty(), why);
    rows.push_back(std::move(row));
  }
}

}  // namespace Routing::Pim::Bsr
