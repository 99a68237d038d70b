/// One VRF of the agent, for as long as the configuration names it.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "agent/SystemState.h"
#include "daemon/VrfFinder.h"
#include "platform/linux/VrfPlatform.h"
#include "platform/orb/TimerFor.h"

namespace Routing::Pim::Bsr {

/// Waits for the VRF's network namespace or vrf device, opens the platform in it once all interfaces and addresses
/// there are known, and publishes through SystemState what the agent needs. When the namespace or the device vanishes
/// it withdraws all that, closes the platform and waits again. What fails is traced and tried again every ten seconds.
class VrfHost {
 public:
  /// What all VRFs of the process share; it outlives them.
  struct Process {
    Linux::EventLoop &loop;
    Linux::NamespaceWatcher &watcher;
    Linux::NetlinkMonitors &monitors;
    Kiv::Ptr<Orb::TimerWheel> wheel;
    Orb::Random &random;
    SystemState &system;
  };

  VrfHost(const Process &process, const L3::VrfName &vrf, const PimVrf &pim);
  /// Stops in order: the agent in this VRF, a goodbye to the neighbors, the sockets.
  ~VrfHost() { close(); }

  /// Whether the VRF with these settings is, or was last, where it may be.
  bool mayStayWith(const PimVrf &pim) const;
  /// Applies what differs, if the VRF may stay.
  void pimIs(const PimVrf &pim);

  /// Null while the namespace or the device is away.
  const Linux::VrfPlatform *platform() const { return platform_.get(); }
  /// What the platform still waits for; empty when all is published.
  const std::string &reason() const { return reason_; }
  /// Whether the operating system refuses what the agent needs to run at all.
  bool isForbidden() const { return forbidden_; }

 private:
  void lookFor();
  void find();
  void handleFound();
  void open(const FoundHome &home);
  void handleRefusal(const std::system_error &error);
  void close();
  IO::HelloSpeaker::Parameters helloParameters() const;

  const Process process_;
  const L3::VrfName vrf_;
  PimVrf pim_;
  std::string reason_;
  bool forbidden_ = false;
  Orb::TimerFor<&VrfHost::find> retry_;
  std::optional<VrfFinder> finder_;
  std::optional<FoundHome> open_;  // where the platform is
  std::unique_ptr<Linux::VrfPlatform> platform_;
};

using VrfHosts = std::map<L3::VrfName, std::unique_ptr<VrfHost>>;

}  // namespace Routing::Pim::Bsr
