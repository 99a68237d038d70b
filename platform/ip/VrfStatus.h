/// The VRFs of the system, their network namespaces and interfaces. Written by the platform; the agent mounts
/// them to find out when a VRF has what it needs.
#pragma once

#include "platform/ip/IntfStatus.h"
#include "platform/pax/Ranged.h"

namespace Ip {

/// One VRF of this router. It is in the collection as long as it is configured.
class VrfStatusLocal : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                            \
  /* empty for the one in which the agent was started */                 \
  ATTRIBUTE(value, Pax::NamespaceName, namespaceName, NamespaceName, {}) \
  /* the vrf device; empty where the VRF is not one */                   \
  ATTRIBUTE(value, std::string, device, Device, {})                      \
  /* and can be entered */                                               \
  ATTRIBUTE(value, bool, namespaceExists, NamespaceExists, false)
  KIV_ENTITY(VrfStatusLocal, ATTRIBUTES)
#undef ATTRIBUTES
};

/// "ip/vrf/status/local": the VRFs of this router.
class AllVrfStatusLocal : public Kiv::Entity {
  KIV_ENTITY_WITH(AllVrfStatusLocal, map, L3::VrfName, VrfStatusLocal, vrfStatus, VrfStatus)
};

}  // namespace Ip

namespace Interface {

/// "interface/status/all": the interfaces of each VRF. A VRF comes into it only when all its interfaces and
/// addresses are known, so a reader never takes a missing one for a deleted one.
class AllIntfStatusDir : public Kiv::Entity {
  KIV_ENTITY_WITH(AllIntfStatusDir, values, L3::VrfName, Kiv::Ptr<Ip::AllIntfStatusDir>, vrfIntfStatus, VrfIntfStatus)
};

}  // namespace Interface

namespace KernelNetInfo {

/// "kni/ns/NAMESPACE/status": the kernel's interfaces in one network namespace, of each VRF there.
class Status : public Kiv::Entity {
  KIV_ENTITY_WITH(Status, values, L3::VrfName, Kiv::Ptr<Ip::AllIntfStatusDir>, devices, Devices)
};

}  // namespace KernelNetInfo
