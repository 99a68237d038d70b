/// Whoever is told when an agent runs in a VRF.
#pragma once

#include "platform/pax/Ranged.h"

namespace Routing::Pim::Bsr {

class ContainerSm;

/// Outlives the agent that it watches.
class AgentWatcher {
 public:
  virtual ~AgentWatcher() = default;
  /// All machines of the VRF are there, and stay until vrfStops() has returned.
  virtual void vrfRuns(const L3::VrfName &vrf, const ContainerSm &machines) = 0;
  virtual void vrfStops(const L3::VrfName &vrf) = 0;
};

}  // namespace Routing::Pim::Bsr
