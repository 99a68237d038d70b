#include "agent/VrfStart.h"

namespace Routing::Pim::Bsr {

VrfStart::VrfStart(Statehub::Store &store, Pax::AddressFamily af, Container &container)
    : af_(af), container_(container), mounts_(store) {
  const L3::VrfName &vrf = container.vrf;
  const MountPaths paths(af);
  mounts_.mount(paths.messageCounters(vrf), container.pimCounters);
  mounts_.mount(paths.channelStatus(vrf), channelStatus_);
  if (af == Pax::AddressFamily::ipv6) {
    mounts_.mount(paths.routeStatus(vrf), container.urib6Status);
    mounts_.mount(paths.forwardingStatus(vrf), container.urib6Fec);
  } else {
    mounts_.mount(paths.routeStatus(vrf), container.uribStatus);
    mounts_.mount(paths.forwardingStatus(vrf), container.uribFec);
  }
}

void VrfStart::kernelInterfacesMount(const Pax::NamespaceName &networkNamespace) {
  mounts_.mount(MountPaths::kniStatus(networkNamespace), kernelVrfIntfStatusDir_);
}

void VrfStart::fill(const Mounts &shared) const {
  const L3::VrfName &vrf = container_.vrf;
  container_.af = af_;
  container_.config = shared.configColl->vrfConfig(vrf);
  container_.clearConfig = shared.clearConfigColl->vrfClearConfig(vrf);
  container_.vrfIpStatus = *shared.allIntfStatusDir->vrfIntfStatus(vrf);
  container_.bidirRpHashStatus = shared.bidirGroupStatusColl->vrfStatus(vrf)->rpHashStatus();
  container_.pimStatus = *shared.pimStatusColl->vrfStatus(vrf);
  container_.mribStatus = shared.mribStatusColl->vrfStatus(vrf);
  container_.ipAclConfig = shared.aclConfig;
  container_.packetPort = channelStatus_->port();
  fillMountedOnly(shared);
}

void VrfStart::fillMountedOnly(const Mounts &shared) const {
  const L3::VrfName &vrf = container_.vrf;
  container_.namespaceName = shared.allVrfStatusLocal->vrfStatus(vrf)->namespaceName();
  container_.kernelIntfStatusDir = *kernelVrfIntfStatusDir_->devices(vrf);
  container_.pimConfigColl = shared.pimConfigColl;
  container_.pimAttrLogSm = Kiv::make<PimAttrLogSm>();
  container_.groupMrtStatus = shared.groupStatusColl->vrfStatus(vrf);
  container_.bidirGroupMrtStatus = shared.bidirGroupStatusColl->vrfStatus(vrf);
  container_.rpHashStatus = container_.groupMrtStatus->rpHashStatus();
  container_.rpPrefixHashStatus = container_.groupMrtStatus->rpPrefixHashStatus();
  container_.bidirRpPrefixHashStatus = container_.bidirGroupMrtStatus->rpPrefixHashStatus();
  container_.mfibConfig = shared.mfibConfig;
  container_.mcastBoundaryStatus = shared.mcastBoundaryStatus;
  container_.allIntfStatusDir = shared.allIntfStatusDir;
  container_.allIntfStatusLocalDir = shared.allIntfStatusLocalDir;
  container_.rpConfig = shared.rpConfigColl->vrfConfig(vrf);
  container_.bidirRpConfig = shared.bidirRpConfigColl->vrfConfig(vrf);
}

}  // namespace Routing::Pim::Bsr
