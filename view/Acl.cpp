#include <map>

#include "view/Json.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

struct User {
  const char *role;
  Pax::IntfId intfId;  ///< empty for the filter, which is of the VRF
};
using Users = std::map<std::string, std::vector<User>>;

/// By ACL, also of those that nobody has defined.
Users usersOf(const VrfView &view) {
  Users users;
  for (const auto &[intfId, config] : view.intfConfig) {
    for (const std::string &acl : config->bsrBorderAcl().keys()) users[acl].push_back({"border", intfId});
  }
  for (const Pax::IntfId &intfId : sortedKeys(view.config->bsrCandidateConfig())) {
    const auto config = view.config->bsrCandidateConfig(intfId);
    for (const std::string &acl : config->acl().keys()) users[acl].push_back({"candidate-bsr", intfId});
  }
  for (const Pax::IntfId &intfId : sortedKeys(view.config->rpCandidateConfig())) {
    const auto config = view.config->rpCandidateConfig(intfId);
    for (const std::string &acl : config->acl().keys()) users[acl].push_back({"candidate-rp", intfId});
  }
  for (const std::string &acl : view.config->crpFilterAcl().keys()) users[acl].push_back({"filter", {}});
  return users;
}

std::string whyUseless(const VrfView &view, const std::string &acl, const std::vector<User> &users) {
  for (const User &user : users) {
    const std::string lack = user.intfId.isEmpty() ? whyNobody(view, acl) : whyNoGroup(view, acl);
    if (!lack.empty()) return lack;
  }
  return users.empty() ? "not used in this VRF" : whyNotRunning(view);
}

Rows textsOf(const std::set<Pax::IpGenPrefix> &prefixes) {
  Rows json = Rows::array();
  for (const Pax::IpGenPrefix &prefix : prefixes) json.push_back(toJson(prefix));
  return json;
}

}  // namespace

void showAcl(const VrfView &view, Rows &rows) {
  Users all = usersOf(view);
  for (const std::string &acl : view.ipAclConfig->acl().keys()) all[acl];
  for (const auto &[acl, users] : all) {
    const Permitted permitted = permittedBy(view, acl);
    Rows row{{"vrf", toJson(view.vrf)},
             {"acl", acl},
             {"exists", permitted.exists},
             {"groups", textsOf(permitted.groups)},
             {"unicast", textsOf(permitted.unicast)},
             {"users", Rows::array()}};
    for (const User &user : users) {
      row["users"].push_back(
          {{"role", user.role}, {"interface", user.intfId.isEmpty() ? Rows() : toJson(user.intfId)}});
    }
    const std::string why = whyUseless(view, acl, users);
    addReason(row, why.empty(), why);
    rows.push_back(std::move(row));
  }
}

}  // namespace Routing::Pim::Bsr
