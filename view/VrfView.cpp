#include "view/VrfView.h"

#include "agent/ContainerSm.h"

namespace Routing::Pim::Bsr {

std::set<Pax::IpGenAddr> localAddresses(const VrfView &view) {
  std::set<Pax::IpGenAddr> addresses;
  if (!view.interfaces) return addresses;
  for (const auto &[intfId, status] : view.interfaces->intfStatus()) {
    if (!status->adminUp()) continue;
    for (const auto &[address, info] : status->address()) addresses.insert(address);
  }
  return addresses;
}

VrfView viewOf(const SystemState &system, const L3::VrfName &vrf, const ContainerSm *machines, double now,
               std::vector<Pax::IntfId> pimInterfaces) {
  VrfView view;
  view.vrf = vrf;
  view.af = system.af;
  view.now = now;
  view.config = system.configColl->vrfConfig(vrf);
  for (const auto &[intfId, config] : system.configColl->intfConfig()) {
    if (intfId.vrf() == vrf.text()) view.intfConfig.emplace(intfId, config);
  }
  view.pimInterfaces = std::move(pimInterfaces);
  view.ipAclConfig = system.aclCli;
  view.status = system.statusColl->vrfStatus(vrf);
  if (const auto known = system.allVrfStatusLocal->vrfStatus(vrf)) {
    view.networkNamespace = known->namespaceName().text();
    view.device = known->device();
  }
  if (const SystemState::Services *services = system.services(vrf)) {
    view.interfaces = services->interfaces;
    view.pimStatus = services->pimStatus;
    view.routes = services->routes;
    view.messages = services->port->messageCounters();
  }
  if (machines) {
    view.configSm = &machines->configSm();
    view.bsrSm = &machines->bsrSm();
    view.bsmGate = &machines->bsrIOSm();
    view.rpHashSm = &machines->rpHashSm();
    view.bidirRpHashSm = machines->bidirRpHashSm();
  }
  return view;
}

}  // namespace Routing::Pim::Bsr
