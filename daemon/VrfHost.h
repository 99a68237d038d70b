/// One VRF of the agent, for as long as the configuration names it.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "agent/SystemState.h"
#include "daemon/file/Configuration.h"
#include "platform/linux/VrfPlatform.h"
#include "platform/orb/TimerFor.h"

namespace Routing::Pim::Bsr {

/// Waits for the VRF's network namespace, opens the platform in it, and publishes through SystemState what the agent
/// needs once all interfaces and addresses there are known. When the namespace vanishes it withdraws all that, closes
/// the platform and waits again. Anything else that fails is traced and tried again every ten seconds.
class VrfHost {
 public:
  /// What all VRFs of the process share; it outlives them.
  struct Process {
    Linux::EventLoop &loop;
    Linux::NamespaceWatcher &watcher;
    Kiv::Ptr<Orb::TimerWheel> wheel;
    Orb::Random &random;
    SystemState &system;
  };

  VrfHost(const Process &process, const L3::VrfName &vrf, const PimVrf &pim);
  /// Stops in order: the agent in this VRF, a goodbye to the neighbors, the sockets.
  ~VrfHost() { close(); }

  /// Applies what differs. With another namespace the VRF starts anew there.
  void pimIs(const PimVrf &pim);

  /// Null while the namespace is away.
  const Linux::VrfPlatform *platform() const { return platform_.get(); }
  /// What the platform still waits for; empty when all is published.
  const std::string &reason() const { return reason_; }
  /// Whether the operating system refuses what the agent needs to run at all.
  bool isForbidden() const { return forbidden_; }

 private:
  void open();
  void close();
  void publish();
  void handleVanished();
  void waitForNamespace();
  IO::HelloSpeaker::Parameters helloParameters() const;

  const Process process_;
  const L3::VrfName vrf_;
  PimVrf pim_;
  std::string reason_;
  bool forbidden_ = false;
  std::optional<Linux::NamespaceWatcher::Watched> awaited_;
  Orb::TimerFor<&VrfHost::open> retry_;
  std::unique_ptr<Linux::VrfPlatform> platform_;
};

using VrfHosts = std::map<L3::VrfName, std::unique_ptr<VrfHost>>;

}  // namespace Routing::Pim::Bsr
