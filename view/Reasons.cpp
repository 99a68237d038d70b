#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

Offers offersOf(const VrfView &view, Role role) {
  Sources sources = sourcesOf(view);
  std::erase_if(sources, [&](const Source &source) { return source.role != role; });
  Offers offers = offersOf(sources, [&](const std::string &acl) { return permittedBy(view, acl); });
  sortOffers(offers);
  return offers;
}

Sources sourcesOf(const VrfView &view) { return sourcesOf(*view.config, view.intfConfig); }

std::optional<PermittedPrefixes> permittedBy(const VrfView &view, const std::string &acl) {
  return permittedBy(*view.ipAclConfig, acl, view.af);
}

// Its machines may be about to end.
std::string whyNotRunning(const VrfView &view) {
  return view.configSm && view.interfaces ? "" : "the VRF is not running";
}

std::string whyAbsent(const VrfView &view, const Pax::IntfId &intfId) {
  const std::string why = whyNotRunning(view);
  if (!why.empty()) return why;
  return view.interfaces && view.interfaces->intfStatus(intfId) ? "" : Kiv::toText(intfId) + " does not exist";
}

std::string whyNoAddress(const VrfView &view, const Pax::IntfId &intfId) {
  const std::string why = whyAbsent(view, intfId);
  if (!why.empty() || !addressOf(view, intfId).isZero()) return why;
  return Kiv::toText(intfId) + (view.interfaces->intfStatus(intfId)->adminUp() ? " has no global address" : " is down");
}

std::string whyPimOff(const VrfView &view, const Pax::IntfId &intfId) {
  if (!view.interfaces) return whyNotRunning(view);
  const auto status = view.interfaces->intfStatus(intfId);
  if (!status) return Kiv::toText(intfId) + " does not exist";
  if (!status->adminUp()) return Kiv::toText(intfId) + " is down";
  if (!status->up()) return Kiv::toText(intfId) + " has no carrier";
  if (!status->pimAddr().isZero()) return whyNotRunning(view);
  return Kiv::toText(intfId) + (view.af == Pax::AddressFamily::ipv4 ? " has no address" : " has no link-local address");
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
