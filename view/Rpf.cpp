#include "view/Rpf.h"

#include "view/Json.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

using Kiv::toText;

// Why a next hop gives no RPF neighbor, after "the route to ADDRESS".
std::string whyNot(const VrfView &view, const NextHop &nextHop, bool isConnected) {
  std::string way = isConnected ? " is the link of " : " leads to ";
  if (!isConnected && !nextHop.address.isZero()) way += toText(nextHop.address) + " on ";
  way += toText(nextHop.intfId);
  const auto pimIntf = view.pimStatus->pimIntf(nextHop.intfId);
  if (!pimIntf) {
    const bool configured = std::ranges::find(view.pimInterfaces, nextHop.intfId) != view.pimInterfaces.end();
    const std::string off = configured ? whyPimOff(view, nextHop.intfId) : "the configuration does not name it";
    return way + ", where PIM is not on" + (off.empty() ? "" : ": " + off);
  }
  if (pimIntf->neighbor().empty()) return way + ", where there is no PIM neighbor";
  if (isConnected) return way + ", where no PIM neighbor has that address";
  if (nextHop.address.af() == view.af) return way + ", which is not a PIM neighbor there";
  return way + ", where several PIM neighbors are, none with that address";
}

}  // namespace

RpfInfo rpfTowards(const VrfView &view, const Pax::IpGenAddr &address) {
  if (!view.routes || address.isZero()) return {};
  return Kiv::make<PimRpfTable>(view.routes, view.pimStatus)->doLookup(address, {});
}

std::string whyNoRpf(const VrfView &view, const Pax::IpGenAddr &address) {
  if (!view.routes) return "PIM does not run in the VRF";
  if (!rpfTowards(view, address).neighbor.isZero()) return "";
  const RouteAnswer answer = view.routes->lookup(address);
  const std::string to = toText(address);
  if (answer.kind == RouteAnswer::Kind::local) return to + " is an address of this router";
  if (answer.kind == RouteAnswer::Kind::none || answer.via.empty()) return "there is no route to " + to;
  std::string why;
  for (const NextHop &nextHop : answer.via) {
    const std::string part = whyNot(view, nextHop, answer.kind == RouteAnswer::Kind::connected);
    why += why.empty() ? "the route to " + to : ", or";
    why += part;
  }
  return why;
}

std::string rpfCommand(const VrfView &view, const Pax::IpGenAddr &address) {
  const RouteAnswer answer = view.routes ? view.routes->lookup(address) : RouteAnswer();
  const bool isRouted = answer.kind == RouteAnswer::Kind::via || answer.kind == RouteAnswer::Kind::connected;
  return isRouted ? "pimbsrctl show neighbors" : routeCommand(view, address);
}

std::string routeCommand(const VrfView &view, const Pax::IpGenAddr &address) {
  const std::string in = view.networkNamespace.empty() ? "" : "-n " + view.networkNamespace + " ";
  const std::string device = view.device.empty() ? "" : " vrf " + view.device;
  return "ip " + in + "route get " + toText(address) + device;
}

}  // namespace Routing::Pim::Bsr
