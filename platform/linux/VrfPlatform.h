/// Everything that one VRF gets from the platform.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/ip/IntfStatus.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/KernelRouteLookup.h"
#include "platform/linux/NamespaceWatcher.h"
#include "platform/linux/NetlinkMonitor.h"
#include "platform/linux/RawPacketPort.h"
#include "platform/orb/Random.h"
#include "platform/pim/HelloSpeaker.h"
#include "platform/pim/PimStatus.h"

namespace Linux {

/// Opens what a VRF needs in its network namespace, which must exist: an owner waits for one that does not with
/// NamespaceWatcher::Watched. PIM is on at the interfaces that hello() is given, which may be done before complete().
///
/// When the namespace vanishes, every interface goes, every socket is closed, and `vanished` is called, in which the
/// owner may destroy this object. The entities and services may be held longer than this object; the loop, the watcher
/// and the random source outlive all of them.
class VrfPlatform {
 public:
  struct Parameters {
    std::string vrf = "default";
    /// A name under /run/netns or a path; empty for the namespace that the program runs in.
    std::string networkNamespace;
    Pax::AddressFamily family = Pax::AddressFamily::ipv4;
    Routing::Pim::IO::HelloSpeaker::Parameters hello;
    /// Interfaces and addresses are all known. Called once, from the loop.
    std::function<void()> complete;
    std::function<void()> vanished;
  };

  /// Throws std::system_error when there is no such namespace or a socket is refused.
  VrfPlatform(EventLoop &loop, NamespaceWatcher &watcher, Orb::Random &random, const Parameters &parameters);
  /// Closes every socket without a goodbye; for an orderly stop, hello()->shutDown() goes first.
  ~VrfPlatform() { close(); }

  bool complete() const { return monitor_ && monitor_->complete(); }
  /// Whether the interface is enslaved to a vrf device, which deserves a warning: a VRF is a namespace here.
  bool inVrfDevice(const Pax::IntfId &intfId) const { return monitor_ && monitor_->inVrfDevice(intfId); }

  const Kiv::Ptr<Orb::TimerWheel> &timerWheel() const { return timerWheel_; }
  const Kiv::Ptr<Ip::AllIntfStatusDir> &interfaces() const { return interfaces_; }
  const Kiv::Ptr<Routing::Pim::Status> &pimStatus() const { return pimStatus_; }
  const Kiv::Ptr<KernelRouteLookup> &routes() const { return routes_; }
  const Kiv::Ptr<RawPacketPort> &port() const { return port_; }
  const Kiv::Ptr<Routing::Pim::IO::HelloSpeaker> &hello() const { return hello_; }

 private:
  void vanish();
  void close();

  const std::string vrf_;
  const std::string networkNamespace_;
  std::function<void()> vanished_;
  const Kiv::Ptr<Orb::TimerWheel> timerWheel_;
  const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces_;
  const Kiv::Ptr<Routing::Pim::Status> pimStatus_;
  const Kiv::Ptr<LinkTable> links_;
  Kiv::Ptr<KernelRouteLookup> routes_;
  Kiv::Ptr<RawPacketPort> port_;
  Kiv::Ptr<Routing::Pim::IO::HelloSpeaker> hello_;
  std::optional<NetlinkMonitor> monitor_;
  std::optional<NamespaceWatcher::Watched> watched_;
};

}  // namespace Linux
