/// A router of the simulated network, as far as the platform goes: interfaces, routes, PIM Hellos
/// and the packet port. An agent may run on it; this class knows nothing of agents.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <unordered_map>

#include "platform/orb/Random.h"
#include "platform/orb/TimerWheel.h"
#include "platform/pim/HelloSpeaker.h"
#include "platform/sim/Intf.h"
#include "platform/sim/Port.h"
#include "platform/sim/Routes.h"

namespace Sim {

class Network;

/// One VRF of one family; another VRF of the same box is another Router with the same power. Owned by
/// the Network. Forwards unicast packets along the routes while it has power.
class Router {
 public:
  using HelloParameters = Routing::Pim::IO::HelloSpeaker::Parameters;

  Router(Network &network, std::string name, const std::string &vrf, uint32_t index, uint64_t seed);
  ~Router();

  Network &network() const { return network_; }
  const std::string &name() const { return name_; }
  const std::string &vrf() const { return vrf_; }
  uint32_t index() const { return index_; }
  /// Of its loopback interface "lo", reachable by every path.
  const Pax::IpGenAddr &address() const { return address_; }
  /// Gives "lo" another address, or takes one.
  void addressIs(const Pax::IpGenAddr &address);
  void addressDel(const Pax::IpGenAddr &address);
  bool owns(const Pax::IpGenAddr &address) const;

  /// The next interface, "eth0" and on, joined to the link. PIM is on there whenever it runs.
  Intf &join(Link &link);
  std::deque<Intf> &intfs() { return intfs_; }
  Intf *intf(const Pax::IntfId &intfId) const;
  /// Its interface at the link; it must have one.
  Intf &intfAt(const Link &link);

  /// Starts the PIM part of a process: a new status, port and Hello speaker, with a Generation ID of
  /// its own.
  void pimStart(const HelloParameters &parameters);
  /// Ends it, with a goodbye to the neighbours or, as a crash does, without.
  void pimStop(bool goodbye);
  bool pimRuns() const { return speaker_ != nullptr; }

  /// Without power nothing is sent, received or forwarded, and PIM does not run. Status is not told.
  void powerIs(bool power);
  bool hasPower() const { return power_; }

  const Kiv::Ptr<Ip::AllIntfStatusDir> &allIntfStatusDir() const { return interfaces_; }
  const Kiv::Ptr<Routes> &routes() const { return routes_; }
  const Kiv::Ptr<Orb::TimerWheel> &wheel() const { return wheel_; }
  Orb::Random &random() { return random_; }
  /// Of the running PIM process.
  const Kiv::Ptr<Routing::Pim::Status> &pimStatus() const { return pimStatus_; }
  const Kiv::Ptr<Port> &port() const { return port_; }

  /// What the link delivers at `intf`.
  void receive(Intf &intf, const Packet &packet, uint32_t hops);
  /// What the port sends: out of an interface, or routed if it names none.
  bool transmit(const Packet &packet);

 private:
  bool forward(const Packet &packet, uint32_t hops);

  Network &network_;
  const std::string name_;
  const std::string vrf_;
  const uint32_t index_;
  const Pax::IpGenAddr address_;
  Orb::Random random_;
  std::deque<Intf> intfs_;
  std::unordered_map<Pax::IntfId, Intf *> intfById_;
  const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces_;
  const Kiv::Ptr<Ip::IntfStatus> loopback_;
  const Kiv::Ptr<Routes> routes_;
  const Kiv::Ptr<Orb::TimerWheel> wheel_;
  Kiv::Ptr<Routing::Pim::Status> pimStatus_;
  Kiv::Ptr<Port> port_;
  Kiv::Ptr<Routing::Pim::IO::HelloSpeaker> speaker_;
  bool power_ = true;
};

}  // namespace Sim
