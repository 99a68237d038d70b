/// A router of the simulated network, as far as the platform goes: interfaces, routes, Hellos and the packet port.
/// An agent may run on it, but this class knows nothing about agents.
#pragma once

#include <deque>
#include <optional>
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

/// One VRF of one address family; whoever wants a second VRF in the same box makes another Router and switches the
/// power of both. The Network owns it. It forwards unicast packets along its routes while it has power.
class Router {
 public:
  using HelloParameters = Routing::Pim::IO::HelloSpeaker::Parameters;

  Router(Network &network, std::string name, const std::string &vrf, uint32_t index, uint64_t seed);
  ~Router() { pimStop(false); }

  Network &network() const { return network_; }
  const std::string &name() const { return name_; }
  const std::string &vrf() const { return vrf_; }
  uint32_t index() const { return index_; }
  /// The first address of its loopback interface "lo", reachable on every path.
  const Pax::IpGenAddr &address() const { return address_; }
  /// Adds an address to "lo" or to another interface without a link, or removes one. The first one of a router
  /// without an address() becomes that.
  void addressIs(const Pax::IpGenAddr &address, const std::string &stub = "lo");
  void addressDel(const Pax::IpGenAddr &address, const std::string &stub = "lo");
  /// Whether the address is one of an interface that is up.
  bool owns(const Pax::IpGenAddr &address) const;
  /// Makes an interface without a link, that is up and has no address.
  void stubIs(const std::string &name);
  void stubUpIs(const std::string &name, bool up);

  /// Makes an interface and joins it to the link.
  Intf &join(Link &link, const IntfParameters &parameters = {});
  std::deque<Intf> &intfs() { return intfs_; }
  /// Null if there is none of this id.
  Intf *intf(const Pax::IntfId &intfId) const;
  /// Its interface on the link; there must be one.
  Intf &intfAt(const Link &link);

  /// Where PIM is on when it runs, from now on, and how it says Hello; until it is told, on every interface that has
  /// a link.
  void pimIs(const HelloParameters &parameters, const std::vector<Pax::IntfId> &interfaces);
  /// Where PIM is to be on.
  std::vector<Pax::IntfId> pimInterfaces() const;
  /// Starts the PIM part of a process: a new status, port and Hello speaker, with a new Generation ID. The router
  /// must have power, and PIM must not run. `redundancyStatus` is as the speaker's.
  void pimStart(const Kiv::Ptr<const Redundancy::RedundancyStatus> &redundancyStatus = nullptr);
  /// Ends it, with a goodbye to the neighbors or, as in a crash, without.
  void pimStop(bool goodbye);
  bool pimRuns() const { return speaker_ != nullptr; }

  /// Without power nothing is sent, received or forwarded. PIM must not run when it changes. No status changes.
  void powerIs(bool power);
  bool hasPower() const { return power_; }

  const Kiv::Ptr<Ip::AllIntfStatusDir> &allIntfStatusDir() const { return interfaces_; }
  const Kiv::Ptr<Routes> &routes() const { return routes_; }
  const Kiv::Ptr<Orb::TimerWheel> &wheel() const { return wheel_; }
  Orb::Random &random() { return random_; }
  /// Of the PIM part that runs; null when none does.
  const Kiv::Ptr<Routing::Pim::Status> &pimStatus() const { return pimStatus_; }
  const Kiv::Ptr<Port> &port() const { return port_; }

  /// The interface's note of what packets look at, begun anew with this router and the link. Null if there is none of
  /// this id.
  Orb::Footprint *emptyFootprint(const Pax::IntfId &intfId) const;
  /// A link has delivered a packet at `intf`. It may cross `hops` more routers.
  void receive(Intf &intf, const Packet &packet, uint32_t hops);
  /// The port sends a packet, out of an interface, or routed if it names none. False if it could not leave.
  bool transmit(const Packet &packet);

 private:
  bool forward(const Packet &packet, uint32_t hops);

  // What each packet needs comes first.
  Network &network_;
  Kiv::Ptr<Port> port_;
  bool power_ = true;
  const uint32_t index_;
  std::vector<std::pair<Pax::IntfId, Intf *>> intfList_;  // as intfById_, but close together
  std::deque<Intf> intfs_;
  const std::string name_;
  const std::string vrf_;
  Pax::IpGenAddr address_;
  Orb::Random random_;
  std::unordered_map<Pax::IntfId, Intf *> intfById_;
  const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces_;
  const Kiv::Ptr<Routes> routes_;
  const Kiv::Ptr<Orb::TimerWheel> wheel_;
  Kiv::Ptr<Routing::Pim::Status> pimStatus_;
  Kiv::Ptr<Routing::Pim::IO::HelloSpeaker> speaker_;
  HelloParameters hello_;
  std::optional<std::vector<Pax::IntfId>> pimInterfaces_;  // unset until it is told
};

}  // namespace Sim
