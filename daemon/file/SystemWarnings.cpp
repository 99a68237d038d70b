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

// The interfaces that the configuration of one VRF names, and the VRF does not have.
class MissingInterfaces {
 public:
  MissingInterfaces(const Configuration &configuration, const L3::VrfName &vrf, const SystemView &view,
                    Findings &findings)
      : configuration_(configuration), vrf_(vrf), view_(view), findings_(findings) {}

  void find() {
    const std::vector<Pax::IntfId> &interfaces = configuration_.pim.at(vrf_).interfaces;
    for (size_t i = 0; i < interfaces.size(); ++i) {
      if (isHere(interfaces[i])) continue;
      warn(entryPath({"pim", vrf_.text(), "interfaces", std::to_string(i)}), interfaces[i],
           "PIM begins on it when it is", " in " + home());
    }
    const VrfSettings &settings = configuration_.vrfConfig.at(vrf_);
    findCandidates("bsrCandidateConfig", settings.bsrCandidateConfig, "it is no candidate BSR before it is");
    findCandidates("rpCandidateConfig", settings.rpCandidateConfig, "it is no candidate RP before it is");
    for (const auto &[intfId, intf] : configuration_.intfConfig) {
      const bool isBorder = !intf.bsrBorderGrp.empty() || !intf.bsrBorderAcl.empty();
      if (intfId.vrf() != vrf_.text() || !isBorder || isHere(intfId)) continue;
      warn(findings_.places.of(borderEntry(configuration_, intfId)), intfId, "its borders come into force when it is",
           whereElse(intfId));
    }
  }

 private:
  template <class Candidacies>
  void findCandidates(const char *member, const Candidacies &candidacies, const char *until) {
    for (const auto &[intfId, candidacy] : candidacies) {
      if (isHere(intfId)) continue;
      warn(entryPath({"vrfConfig", vrf_.text(), member, intfId.name()}), intfId, until, whereElse(intfId));
    }
  }

  bool isHere(const Pax::IntfId &intfId) const { return view_.interfaces->intfStatus(intfId) != nullptr; }
  std::string home() const {
    const std::string device = view_.home.deviceName();
    return device.empty() ? "VRF " + vrf_.text() : "VRF device " + device;
  }
  const Linux::LinkMessage *link(const Pax::IntfId &intfId) const {
    return view_.home.monitor->link(std::string(intfId.name()));
  }
  // Empty where the interface has only to come.
  std::string whereElse(const Pax::IntfId &intfId) const { return link(intfId) ? " in " + home() : ""; }
  std::string whereabouts(const Pax::IntfId &intfId) const {
    if (!link(intfId)) return "is not there now";
    const std::string device = view_.home.monitor->vrfDeviceOf(*link(intfId));
    return "belongs to " + (device.empty() ? "no VRF device" : "VRF device " + device);
  }
  void warn(std::string path, const Pax::IntfId &intfId, const char *until, const std::string &where) {
    findings_.warning(std::move(path), std::string(intfId.name()) + " " + whereabouts(intfId) + "; " + until + where);
  }

  const Configuration &configuration_;
  const L3::VrfName &vrf_;
  const SystemView &view_;
  Findings &findings_;
};

}  // namespace

SystemView::SystemView(const L3::VrfName &vrf, const FoundHome &found) : home(found) {
  const auto all = Kiv::make<Ip::AllIntfStatusDir>();
  const Linux::VrfLinks links(found.monitor, found.device, vrf.text(), all, Kiv::make<Linux::LinkTable>());
  interfaces = all;
}

void findSystemWarnings(const Configuration &configuration, const L3::VrfName &vrf, const SystemView &view,
                        Findings &findings) {
  MissingInterfaces(configuration, vrf, view, findings).find();
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
