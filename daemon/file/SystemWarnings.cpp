#include "daemon/file/SystemWarnings.h"

#include <algorithm>

#include "daemon/file/Entries.h"
#include "daemon/file/FileOffers.h"
#include "daemon/file/SystemInquiry.h"
#include "platform/linux/VrfLinks.h"

namespace Routing::Pim::Bsr {

namespace {

bool permits(const Configuration &configuration, const std::set<std::string> &acls, const Pax::IpGenAddr &address) {
  return std::any_of(acls.begin(), acls.end(), [&](const std::string &acl) {
    const PermittedPrefixes permitted = permittedBy(configuration.acl.at(acl), configuration.family);
    return std::any_of(permitted.unicast.begin(), permitted.unicast.end(),
                       [&](const Pax::IpGenPrefix &prefix) { return prefix.covers(Pax::IpGenPrefix::host(address)); });
  });
}

void checkFilter(const Configuration &configuration, const L3::VrfName &vrf, const SystemView &view,
                 Findings &findings) {
  const VrfSettings &settings = configuration.vrfConfig.at(vrf);
  if (settings.crpFilterAcl.empty()) return;
  for (const auto &[intfId, candidacy] : settings.rpCandidateConfig) {
    const auto intf = view.interfaces->intfStatus(intfId);
    if (!intf || intf->ipAddr().isZero() || permits(configuration, settings.crpFilterAcl, intf->ipAddr())) continue;
    findings.warning(
        entryPath({"vrfConfig", vrf.text(), "crpFilterAcl"}),
        "denies " + Kiv::toText(intf->ipAddr()) + ", this router's own candidate RP on " + std::string(intfId.name()));
  }
}

// Where an interface is that the VRF does not have.
std::string whereabouts(const SystemView &view, const std::string &name) {
  const Linux::LinkMessage *link = view.home.monitor->link(name);
  if (!link) return "is not there now";
  const std::string device = view.home.monitor->vrfDeviceOf(*link);
  return "belongs to " + (device.empty() ? "no VRF device" : "VRF device " + device);
}

void checkInterfaces(const L3::VrfName &vrf, const PimVrf &pim, const SystemView &view, Findings &findings) {
  const std::string device = view.home.deviceName();
  for (size_t i = 0; i < pim.interfaces.size(); ++i) {
    const std::string name(pim.interfaces[i].name());
    if (view.interfaces->intfStatus(pim.interfaces[i])) continue;
    findings.warning(entryPath({"pim", vrf.text(), "interfaces", std::to_string(i)}),
                     name + " " + whereabouts(view, name) + "; PIM begins on it when it is in " +
                         (device.empty() ? "VRF " + vrf.text() : "VRF device " + device));
  }
}

}  // namespace

SystemView::SystemView(const L3::VrfName &vrf, const FoundHome &found) : home(found) {
  const auto all = Kiv::make<Ip::AllIntfStatusDir>();
  const Linux::VrfLinks links(found.monitor, found.device, vrf.text(), all, Kiv::make<Linux::LinkTable>());
  interfaces = all;
}

void findSystemWarnings(const Configuration &configuration, const L3::VrfName &vrf, const SystemView &view,
                        Findings &findings) {
  checkInterfaces(vrf, configuration.pim.at(vrf), view, findings);
  checkFilter(configuration, vrf, view, findings);
}

void findSystemWarnings(const Configuration &configuration, Findings &findings) {
  Linux::EventLoop loop;
  Linux::NetlinkMonitors monitors(loop, configuration.family);
  const SystemInquiry inquiry(loop, monitors, configuration, [&loop] { loop.stop(); });
  loop.run();
  inquiry.findWarnings(findings);
}

LoadedConfiguration configurationForHere(const std::string &file, Pax::AddressFamily family) {
  LoadedConfiguration loaded = configurationFromFile(file, family);
  if (loaded.good()) findSystemWarnings(loaded.configuration, loaded.findings);
  return loaded;
}

}  // namespace Routing::Pim::Bsr
