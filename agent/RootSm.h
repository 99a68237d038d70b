/// Decides which VRFs run.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "agent/Agent.h"
#include "agent/IdleAging.h"

namespace Routing::Pim::Bsr {

class IntfConfigFill;
class RootReactors;
class VrfStart;

/// Keeps the state of each VRF, and the reason for it: unknown, known (it has Status and Container), running (it has a
/// ContainerSm too). Whenever something changes on which that may depend, its reactors (RootReactors) have it look at
/// the VRF again. A VRF with everything in place starts (VrfStart), one that lost something stops; its Status stays
/// until the VRF itself goes. Owned by the agent while that does not stand by.
class RootSm {
 public:
  /// `maxRoutes` bounds the mirrors of route tables that a platform may keep; ours asks per address.
  RootSm(Agent &agent, Pax::AddressFamily af, uint32_t maxRoutes);
  ~RootSm();

  /// Starts with everything that is there already; to be called once.
  void handleInitialized();
  /// What the VRF still waits for; empty when it runs or is not known.
  std::string reason(const L3::VrfName &vrf) const;

  /// Something changed that may affect the VRF.
  void handleVrf(const L3::VrfName &vrf);
  /// The VRF's interfaces as a whole came or went.
  void handleVrfIntfStatus(const L3::VrfName &vrf);
  void handleBsrIntfConfig(const Pax::IntfId &intfId);
  /// A VRF is ready for the hitless shutdown, or no longer so.
  void handleHitlessCompletedVrf();

 private:
  void handleVrfAdd(const L3::VrfName &vrf);
  void handleVrfDel(const L3::VrfName &vrf);
  bool checkMounts(const L3::VrfName &vrf);
  std::string missingMount(const L3::VrfName &vrf) const;
  std::string missingDefault(const L3::VrfName &vrf) const;
  void reasonIs(const L3::VrfName &vrf, const std::string &missing);
  void handlePimEnabled(const L3::VrfName &vrf);
  void handlePimDisabled(const L3::VrfName &vrf);
  void doKniInit(const L3::VrfName &vrf);
  void handleStartMounted(const L3::VrfName &vrf);
  IntfConfigFill intfConfigFill(const Container &container) const;

  Agent &agent_;
  const Pax::AddressFamily af_;
  const uint32_t maxRoutes_;
  const Mounts &mounts_;
  std::map<L3::VrfName, std::unique_ptr<VrfStart>> start_;
  std::map<L3::VrfName, std::string> reason_;
  IdleAging idleAging_;
  std::unique_ptr<RootReactors> reactors_;
};

}  // namespace Routing::Pim::Bsr
