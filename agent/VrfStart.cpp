#include "agent/VrfStart.h"

namespace Routing::Pim::Bsr {

VrfStart::VrfStart(Statehub::Store &store, Pax::AddressFamily af, const L3::VrfName &vrf) : af_(af), mounts_(store) {
  const MountPaths paths(af);
  mounts_.mount(paths.messageCounters(vrf), pimCounters_);
  mounts_.mount(paths.channelStatus(vrf), channelStatus_);
  if (af == Pax::AddressFamily::ipv6) {
    mounts_.mount(paths.routeStatus(vrf), urib6Status_);
    mounts_.mount(paths.forwardingStatus(vrf), urib6Fec_);
  } else {
    mounts_.mount(paths.routeStatus(vrf), uribStatus_);
    mounts_.mount(paths.forwardingStatus(vrf), uribFec_);
  }
}

void VrfStart::kernelInterfacesMount(const Pax::NamespaceName &networkNamespace) {
  mounts_.mount(MountPaths::kniStatus(networkNamespace), kernelVrfIntfStatusDir_);
}

void VrfStart::fill(Container &container, const Mounts &shared) const {
  const L3::VrfName &vrf = container.vrf;
  container.uribStatus = uribStatus_;
  container.urib6Status = urib6Status_;
  container.af = af_;
  container.config = shared.configColl->vrfConfig(vrf);
  container.clearConfig = shared.clearConfigColl->vrfClearConfig(vrf);
  container.vrfIpStatus = *shared.allIntfStatusDir->vrfIntfStatus(vrf);
  container.bidirRpHashStatus = shared.bidirGroupStatusColl->vrfStatus(vrf)->rpHashStatus();
  container.pimStatus = *shared.pimStatusColl->vrfStatus(vrf);
  container.pimCounters = pimCounters_;
  container.mribStatus = shared.mribStatusColl->vrfStatus(vrf);
  container.ipAclConfig = shared.aclConfig;
  container.packetPort = channelStatus_->port();
  fillMountedOnly(container, shared);
}

void VrfStart::fillMountedOnly(Container &container, const Mounts &shared) const {
  const L3::VrfName &vrf = container.vrf;
  container.uribFec = uribFec_;
  container.urib6Fec = urib6Fec_;
  container.namespaceName = shared.allVrfStatusLocal->vrfStatus(vrf)->namespaceName();
  container.kernelIntfStatusDir = kernelVrfIntfStatusDir_->devices();
  container.pimConfigColl = shared.pimConfigColl;
  container.pimAttrLogSm = Kiv::make<PimAttrLogSm>();
  container.groupMrtStatus = shared.groupStatusColl->vrfStatus(vrf);
  container.bidirGroupMrtStatus = shared.bidirGroupStatusColl->vrfStatus(vrf);
  container.rpHashStatus = container.groupMrtStatus->rpHashStatus();
  container.rpPrefixHashStatus = container.groupMrtStatus->rpPrefixHashStatus();
  container.bidirRpPrefixHashStatus = container.bidirGroupMrtStatus->rpPrefixHashStatus();
  container.mfibConfig = shared.mfibConfig;
  container.mcastBoundaryStatus = shared.mcastBoundaryStatus;
  container.allIntfStatusDir = shared.allIntfStatusDir;
  container.allIntfStatusLocalDir = shared.allIntfStatusLocalDir;
  container.rpConfig = shared.rpConfigColl->vrfConfig(vrf);
  container.bidirRpConfig = shared.bidirRpConfigColl->vrfConfig(vrf);
}

}  // namespace Routing::Pim::Bsr
