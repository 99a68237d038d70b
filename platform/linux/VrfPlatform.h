/// Everything that one VRF gets from the platform.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/ip/IntfStatus.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/KernelRouteLookup.h"
#include "platform/linux/RawPacketPort.h"
#include "platform/linux/VrfLinks.h"
#include "platform/orb/Random.h"
#include "platform/pim/HelloSpeaker.h"
#include "platform/pim/PimStatus.h"

namespace Linux {

/// Opens what a VRF needs in its network namespace, or in a vrf device there, which must exist and be known to the
/// monitor. PIM is on at the interfaces that hello() is given.
///
/// The entities and services may be held longer than this object; the loop and the random source outlive all of them.
class VrfPlatform {
 public:
  struct Parameters {
    std::string vrf = "default";
    /// Of the namespace; complete.
    std::shared_ptr<NetlinkMonitor> monitor;
    /// The index of the vrf device; 0 for the interfaces that belong to none, and the routes of the namespace.
    uint32_t device = 0;
    Routing::Pim::IO::HelloSpeaker::Parameters hello;
  };

  /// Throws std::system_error when a socket is refused.
  VrfPlatform(EventLoop &loop, Orb::Random &random, const Parameters &parameters);
  /// Closes every socket without a goodbye; for an orderly stop, hello()->shutDown() goes first.
  ~VrfPlatform();

  const Kiv::Ptr<Orb::TimerWheel> &timerWheel() const { return timerWheel_; }
  const Kiv::Ptr<Ip::AllIntfStatusDir> &interfaces() const { return interfaces_; }
  const Kiv::Ptr<Routing::Pim::Status> &pimStatus() const { return pimStatus_; }
  const Kiv::Ptr<KernelRouteLookup> &routes() const { return routes_; }
  const Kiv::Ptr<RawPacketPort> &port() const { return port_; }
  const Kiv::Ptr<Routing::Pim::IO::HelloSpeaker> &hello() const { return hello_; }

 private:
  const Kiv::Ptr<Orb::TimerWheel> timerWheel_;
  const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces_;
  const Kiv::Ptr<Routing::Pim::Status> pimStatus_;
  const Kiv::Ptr<LinkTable> links_;
  Kiv::Ptr<KernelRouteLookup> routes_;
  Kiv::Ptr<RawPacketPort> port_;
  Kiv::Ptr<Routing::Pim::IO::HelloSpeaker> hello_;
  std::optional<VrfLinks> vrfLinks_;
};

}  // namespace Linux
