#include "daemon/file/SystemWarnings.h"

#include <algorithm>

#include "daemon/file/Entries.h"
#include "daemon/file/FileOffers.h"
#include "daemon/file/SystemInquiry.h"

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

void checkInterfaces(const L3::VrfName &vrf, const PimVrf &pim, const SystemView &view, Findings &findings) {
  for (size_t i = 0; i < pim.interfaces.size(); ++i) {
    const std::string path = entryPath({"pim", vrf.text(), "interfaces", std::to_string(i)});
    const std::string name(pim.interfaces[i].name());
    if (!view.interfaces->intfStatus(pim.interfaces[i])) {
      findings.warning(path, name + " is not there now; PIM begins on it when it is");
    } else if (view.inVrfDevice(pim.interfaces[i])) {
      findings.warning(path,
                       name + " belongs to a VRF device, whose routes are ignored: a VRF is a network namespace here");
    }
  }
}

}  // namespace

void findSystemWarnings(const Configuration &configuration, const L3::VrfName &vrf, const SystemView &view,
                        Findings &findings) {
  checkInterfaces(vrf, configuration.pim.at(vrf), view, findings);
  checkFilter(configuration, vrf, view, findings);
}

void findSystemWarnings(const Configuration &configuration, Findings &findings) {
  Linux::EventLoop loop;
  const SystemInquiry inquiry(
      loop, configuration, [](const auto &, const auto &) { return std::nullopt; }, [&loop] { loop.stop(); });
  loop.run();
  inquiry.findWarnings(findings);
}

LoadedConfiguration configurationForHere(const std::string &file, Pax::AddressFamily family) {
  LoadedConfiguration loaded = configurationFromFile(file, family);
  if (loaded.good()) findSystemWarnings(loaded.configuration, loaded.findings);
  return loaded;
}

}  // namespace Routing::Pim::Bsr
