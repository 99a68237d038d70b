/// The VRFs of the system, their network namespaces and interfaces.
#pragma once

#include "platform/ip/IntfStatus.h"
#include "platform/pax/Ranged.h"

namespace Ip {

class VrfStatusLocal : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                            \
  /* empty for the default VRF */                                        \
  ATTRIBUTE(value, Pax::NamespaceName, namespaceName, NamespaceName, {}) \
  ATTRIBUTE(value, bool, namespaceExists, NamespaceExists, false)
  KIV_ENTITY(VrfStatusLocal, ATTRIBUTES)
#undef ATTRIBUTES
};

/// "ip/vrf/status/local".
class AllVrfStatusLocal : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, L3::VrfName, VrfStatusLocal, vrfStatus, VrfStatus)
  KIV_ENTITY(AllVrfStatusLocal, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace Ip

namespace Interface {

/// "interface/status/all": the interfaces by VRF. A VRF is in it once all its interfaces and
/// addresses are known.
class AllIntfStatusDir : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) \
  ATTRIBUTE(values, L3::VrfName, Kiv::Ptr<Ip::AllIntfStatusDir>, vrfIntfStatus, VrfIntfStatus)
  KIV_ENTITY(AllIntfStatusDir, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace Interface

namespace KernelNetInfo {

/// "kni/ns/NAMESPACE/status": the kernel's interfaces of one network namespace.
class Status : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(pointer, Ip::AllIntfStatusDir, devices, Devices)
  KIV_ENTITY(Status, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace KernelNetInfo
