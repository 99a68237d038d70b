#include "daemon/file/SystemWarnings.h"

#include <algorithm>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <system_error>

#include "daemon/file/Entries.h"
#include "daemon/file/FileOffers.h"
#include "platform/linux/NetlinkMonitor.h"

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
    if (!view.inVrfDevice(pim.interfaces[i])) continue;
    findings.warning(entryPath({"pim", vrf.text(), "interfaces", std::to_string(i)}),
                     std::string(pim.interfaces[i].name()) +
                         " belongs to a VRF device, whose routes are ignored: a VRF is a network namespace here");
  }
}

// How long the kernel may take to report the interfaces of a namespace; what is missing by then is not checked.
constexpr std::chrono::seconds patience(5);

void askSystem(const Configuration &configuration, const L3::VrfName &vrf, Findings &findings) {
  Linux::EventLoop loop;
  const auto interfaces = Kiv::make<Ip::AllIntfStatusDir>();
  Linux::NetlinkMonitor monitor(loop, Linux::Namespace(configuration.pim.at(vrf).networkNamespace.text()), interfaces,
                                Kiv::make<Linux::LinkTable>(),
                                {vrf.text(), configuration.family, [&loop] { loop.stop(); }});
  bool known = true;
  boost::asio::steady_timer deadline(loop.context(), patience);
  deadline.async_wait([&](const boost::system::error_code &) {
    known = false;
    loop.stop();
  });
  loop.run();
  if (!known) return;
  const auto inVrfDevice = [&monitor](const Pax::IntfId &intfId) { return monitor.inVrfDevice(intfId); };
  findSystemWarnings(configuration, vrf, {interfaces, inVrfDevice}, findings);
}

}  // namespace

void findSystemWarnings(const Configuration &configuration, const L3::VrfName &vrf, const SystemView &view,
                        Findings &findings) {
  checkInterfaces(vrf, configuration.pim.at(vrf), view, findings);
  checkFilter(configuration, vrf, view, findings);
}

void findSystemWarnings(const Configuration &configuration, Findings &findings) {
  for (const auto &[vrf, pim] : configuration.pim) {
    try {
      askSystem(configuration, vrf, findings);
    } catch (const std::system_error &) {
      continue;  // it is waited for, or will be refused, when the agent runs
    }
  }
}

LoadedConfiguration configurationForHere(const std::string &file, Pax::AddressFamily family) {
  LoadedConfiguration loaded = configurationFromFile(file, family);
  if (loaded.good()) findSystemWarnings(loaded.configuration, loaded.findings);
  return loaded;
}

}  // namespace Routing::Pim::Bsr
