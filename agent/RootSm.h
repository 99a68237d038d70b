/// Decides which VRFs run.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "agent/Agent.h"

namespace Routing::Pim::Bsr {

/// Watches the VRFs of the system and what PIM publishes of each, and gives every VRF that qualifies
/// a running ContainerSm. A VRF is known (it has Status and Container), running, and known again,
/// as what it needs comes and goes; its Status stays until the VRF itself goes.
class RootSm {
 public:
  /// `maxRoutes` bounds the mirrors of route tables that a platform may keep; ours asks per address.
  RootSm(Agent &agent, Pax::AddressFamily af, uint32_t maxRoutes);
  ~RootSm();
  RootSm(const RootSm &) = delete;
  RootSm &operator=(const RootSm &) = delete;

  /// Starts with everything that is there already; to be called once.
  void handleInitialized();
  /// What the VRF still waits for; empty when it runs or is not known.
  std::string reason(const L3::VrfName &vrf) const;
  /// Whether every running VRF is ready for the hitless shutdown; reports it then.
  void handleHitlessCompletedVrf();

 private:
  class Start;
  class Kivs;

  void handleVrf(const L3::VrfName &vrf);
  void handleVrfAdd(const L3::VrfName &vrf);
  void handleVrfDel(const L3::VrfName &vrf);
  bool checkMounts(const L3::VrfName &vrf);
  std::string missingMount(const L3::VrfName &vrf) const;
  void handlePimEnabled(const L3::VrfName &vrf);
  void handlePimDisabled(const L3::VrfName &vrf);
  void handleStartMounted(const L3::VrfName &vrf);
  bool hasDefaults(const L3::VrfName &vrf);
  void doFill(Container &container, const Start &start);
  void handleVrfIntfStatus(const L3::VrfName &vrf);
  void handleBsrIntfConfig(const Pax::IntfId &intfId);
  void doKniInit(const L3::VrfName &vrf, Start &start);
  void doRemoveExtraVrfs();
  void doDistributeIntfConfig(const L3::VrfName &vrf);

  Agent &agent_;
  const Pax::AddressFamily af_;
  const uint32_t maxRoutes_;
  const Mounts &mounts_;
  std::map<L3::VrfName, std::unique_ptr<Start>> start_;  // those that mount, or make their machines
  std::map<L3::VrfName, std::string> reason_;
  std::unique_ptr<Kivs> kivs_;
};

}  // namespace Routing::Pim::Bsr
