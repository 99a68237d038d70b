#include "view/Reasons.h"

#include <sstream>

#include "platform/acl/AclToPrefix.h"

namespace Routing::Pim::Bsr {

namespace {

std::string join(const Pax::IntfId &intfId, const char *what) {
  std::ostringstream text;
  text << intfId << what;
  return text.str();
}

}  // namespace

Permitted permittedBy(const VrfView &view, const std::string &acl) {
  const auto config = view.ipAclConfig->acl(acl);
  if (!config) return {};
  return {sortPermitted(AclPrefix::permittedPrefixes(*config, view.af), view.af), true};
}

std::string whyNotRunning(const VrfView &view) { return view.configSm ? "" : "the VRF does not run"; }

std::string whyAbsent(const VrfView &view, const Pax::IntfId &intfId) {
  const std::string why = whyNotRunning(view);
  if (!why.empty()) return why;
  return view.interfaces && view.interfaces->intfStatus(intfId) ? "" : join(intfId, " does not exist");
}

std::string whyNoAddress(const VrfView &view, const Pax::IntfId &intfId) {
  const std::string why = whyAbsent(view, intfId);
  if (!why.empty() || !addressOf(view, intfId).isZero()) return why;
  return join(intfId, view.interfaces->intfStatus(intfId)->adminUp() ? " has no address" : " is down");
}

std::string whyPimOff(const VrfView &view, const Pax::IntfId &intfId) {
  const std::string why = whyAbsent(view, intfId);
  if (!why.empty()) return why;
  const auto status = view.interfaces->intfStatus(intfId);
  if (!status->adminUp()) return join(intfId, " is down");
  if (!status->up()) return join(intfId, " has no carrier");
  if (!status->pimAddr().isZero()) return "";
  return join(intfId, view.af == Pax::AddressFamily::ipv4 ? " has no address" : " has no link-local address");
}

std::string whyNoGroup(const VrfView &view, const std::string &acl) {
  const Permitted permitted = permittedBy(view, acl);
  if (!permitted.exists) return "ACL " + acl + " is not defined";
  return permitted.groups.empty() ? "ACL " + acl + " permits no group" : "";
}

std::string whyNobody(const VrfView &view, const std::string &acl) {
  const Permitted permitted = permittedBy(view, acl);
  if (!permitted.exists) return "ACL " + acl + " is not defined";
  return permitted.unicast.empty() ? "ACL " + acl + " permits nobody" : "";
}

Pax::IpGenAddr addressOf(const VrfView &view, const Pax::IntfId &intfId) {
  const auto status = view.interfaces ? view.interfaces->intfStatus(intfId) : nullptr;
  return status ? status->ipAddr() : Pax::IpGenAddr();
}

void addReason(Rows &row, bool active, const std::string &reason) {
  row["active"] = active;
  row["reason"] = reason.empty() ? Rows() : Rows(reason);
}

}  // namespace Routing::Pim::Bsr
