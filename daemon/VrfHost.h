/// One VRF of the agent, for as long as the configuration names it.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "agent/ContainerSm.h"
#include "daemon/Configuration.h"
#include "platform/linux/VrfPlatform.h"

namespace Routing::Pim::Bsr {

/// Waits for the VRF's network namespace, opens the platform in it, and runs the VRF's machines from
/// when its interfaces and addresses are all known. When the namespace vanishes the machines and the
/// platform go, and it waits again; the entities stay, so what was learned is still there. What fails
/// otherwise is traced and tried again every ten seconds.
class VrfHost {
 public:
  /// What all VRFs of the process share; it outlives them.
  struct Process {
    Linux::EventLoop &loop;
    Linux::NamespaceWatcher &watcher;
    Kiv::Ptr<Orb::TimerWheel> wheel;
    Orb::Random &random;
    Pax::AddressFamily family;
  };
  struct Entities {
    Kiv::Ptr<const Config> config;
    Kiv::Ptr<const ClearConfig> clearConfig;
    Kiv::Ptr<Status> status;
    Kiv::Ptr<const Acl::Input::Config> ipAclConfig;
  };

  VrfHost(const Process &process, const L3::VrfName &vrf, const PimVrf &pim, const Entities &entities);
  /// Stops in order: the machines, a goodbye to the neighbours, the sockets.
  ~VrfHost();
  VrfHost(const VrfHost &) = delete;
  VrfHost &operator=(const VrfHost &) = delete;

  /// Applies what differs. Another namespace means a new start there.
  void pimIs(const PimVrf &pim);

  const L3::VrfName &vrf() const { return vrf_; }
  const Kiv::Ptr<Status> &status() const { return entities_.status; }
  /// Null while the namespace is away.
  const Linux::VrfPlatform *platform() const { return platform_.get(); }
  /// Null until the VRF runs.
  const ContainerSm *containerSm() const { return containerSm_.get(); }
  /// What the VRF still waits for; empty when it runs.
  const std::string &reason() const { return reason_; }
  /// The operating system refuses what the agent needs to run at all.
  bool isForbidden() const { return forbidden_; }

 private:
  class Retry : public Orb::Timer {
   public:
    Retry(VrfHost &host, const Kiv::Ptr<Orb::TimerWheel> &wheel) : Timer(wheel), host_(host) {}
    void onTime() override { host_.open(); }

   private:
    VrfHost &host_;
  };

  void open();
  void close();
  void run();
  void handleVanished();
  void waitForNamespace();
  IO::HelloSpeaker::Parameters helloParameters() const;

  const Process process_;
  const L3::VrfName vrf_;
  const Entities entities_;
  PimVrf pim_;
  const Kiv::Ptr<VrfIntfConfig> vrfIntfConfig_;
  const Kiv::Ptr<RpCandidateStatus> rpCandidateStatus_;
  std::string reason_;
  bool forbidden_ = false;
  std::optional<Linux::NamespaceWatcher::Watched> awaited_;
  Retry retry_;
  std::unique_ptr<Linux::VrfPlatform> platform_;
  std::unique_ptr<ContainerSm> containerSm_;
};

}  // namespace Routing::Pim::Bsr
