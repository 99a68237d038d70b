#include "daemon/KnownNames.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "daemon/file/Findings.h"
#include "view/Groups.h"
#include "view/Reasons.h"
#include "view/ZoneView.h"

namespace Routing::Pim::Bsr {

namespace {

using Process = Answers::Process;
using Names = std::vector<std::string>;

std::out_of_range unknown(const std::string &what, const std::string &name, const Names &known, const char *noun) {
  constexpr size_t few = 8;
  std::string text = "there is no " + what + " '" + name + "'; ";
  if (known.empty()) return std::out_of_range(text + "there is none");
  if (known.size() > few) return std::out_of_range(text + "'pimbsrctl show " + noun + "' lists them");
  return std::out_of_range(text + "known: " + joined(known, ", "));
}

template <class Visit>
void eachView(const Process &process, const std::string &vrf, const Visit &visit) {
  for (const auto &[name, host] : process.hosts) {
    if (!vrf.empty() && name.text() != vrf) continue;
    if (const auto view = viewOf(process, name)) visit(*view);
  }
}

bool isOfEvent(const Process &process, const auto &predicate) {
  return std::ranges::any_of(process.events.events(), predicate);
}

void checkInterface(const Process &process, const std::string &vrf, const std::string &name) {
  Names known;
  eachView(process, vrf, [&](const VrfView &view) {
    std::set<Pax::IntfId> configured(view.pimInterfaces.begin(), view.pimInterfaces.end());
    for (const auto &[intfId, config] : view.intfConfig) configured.insert(intfId);
    for (const Pax::IntfId &intfId : configured) known.push_back(Kiv::toText(intfId));
  });
  if (std::ranges::find(known, name) == known.end()) throw unknown("interface", name, known, "interfaces");
}

// Learned, configured and in force, or only configured.
void checkZone(const Process &process, const std::string &vrf, const Pax::IpGenPrefix &zone) {
  std::set<Pax::IpGenPrefix> zones;
  eachView(process, vrf, [&](const VrfView &view) {
    for (const Pax::IpGenPrefix &known : zonesBehind(view, {})) zones.insert(known);
    for (const auto &[known, learned] : view.status->crpStatus()) zones.insert(known);
    for (const Offer &offer : offersOf(view, Role::candidateBsr)) {
      if (!offer.prefix.isEmpty()) zones.insert(offer.prefix);
    }
  });
  if (zones.contains(zone)) return;
  Names known;
  for (const Pax::IpGenPrefix &each : zones) known.push_back(Kiv::toText(each));
  throw unknown("zone", Kiv::toText(zone), known, "bsr");
}

}  // namespace

std::optional<VrfView> viewOf(const Process &process, const L3::VrfName &vrf) {
  const auto pim = process.configuration.pim.find(vrf);
  if (pim == process.configuration.pim.end() || !process.system.statusColl->vrfStatus(vrf)) return std::nullopt;
  VrfView view =
      viewOf(process.system, vrf, process.agent.containerSm(vrf), process.loop.now(), pim->second.interfaces);
  view.drops = &process.drops;
  return view;
}

void checkVrf(const Process &process, const std::string &vrf) {
  if (vrf.empty()) return;
  Names known;
  for (const auto &[name, host] : process.hosts) known.push_back(name.text());
  if (std::ranges::find(known, vrf) == known.end()) throw unknown("VRF", vrf, known, "vrf");
}

void checkNames(const Process &process, const Control::Request &request) {
  const bool isPast = request.noun == "events";
  const auto isOfVrf = [&](const Event &event) { return event.vrf.text() == request.vrf; };
  if (!isPast || !isOfEvent(process, isOfVrf)) checkVrf(process, request.vrf);
  if (!request.zone.empty()) {
    const Pax::IpGenPrefix zone = zoneFrom(request.zone, process.system.af);
    const auto isOfZone = [&](const Event &event) { return event.zone == zone; };
    if (!isPast || !isOfEvent(process, isOfZone)) checkZone(process, request.vrf, zone);
  }
  const bool isInterface = request.noun == "interfaces" || request.noun == "neighbors";
  if (isInterface && !request.argument.empty()) checkInterface(process, request.vrf, request.argument);
}

}  // namespace Routing::Pim::Bsr
