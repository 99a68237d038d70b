/// The end of a link at a router. The router owns it.
#pragma once

#include <string>
#include <vector>

#include "platform/ip/IntfStatus.h"
#include "platform/sim/Link.h"

namespace Sim {

class Router;

/// An address of an interface, and the prefix that is on the link with it.
struct IntfAddress {
  Pax::IpGenAddr address;
  Pax::IpGenPrefix subnet;
  bool operator==(const IntfAddress &) const = default;
};

struct IntfParameters {
  std::string name{};                    ///< the next of "eth0", "eth1", ... if empty
  std::vector<IntfAddress> addresses{};  ///< those of the address plan if empty
};

/// It is up from the start and keeps its IntfStatus as a kernel would. It has the addresses that it is
/// made with, else one of the link's subnet, or that of its router if the link is unnumbered. In IPv6 it has a
/// link-local address of its router before them, unless it is made with one.
class Intf {
 public:
  Intf(Router &router, Link &link, const Pax::IntfId &intfId, const Kiv::Ptr<Ip::IntfStatus> &status,
       const std::vector<IntfAddress> &addresses = {});

  Router &router() const { return router_; }
  Link &link() const { return link_; }
  const Pax::IntfId &intfId() const { return intfId_; }
  const Kiv::Ptr<Ip::IntfStatus> &status() const { return status_; }
  /// The first that is not link-local.
  const Pax::IpGenAddr &address() const { return address_; }
  /// What neighbors route to: the link-local address in IPv6; on an unnumbered link of IPv4 it is unset, and their
  /// routes name only the interface.
  const Pax::IpGenAddr &nextHopAddress() const { return nextHop_; }
  /// Adds this address, and lets neighbors route to it.
  void nextHopAddressIs(const Pax::IpGenAddr &address);
  /// Adds an address, or removes one; neighbors route to another one if they routed to that.
  void addressIs(const IntfAddress &address);
  void addressDel(const Pax::IpGenAddr &address);

  /// What packets that come and go here look at, as whoever handles them notes it.
  Orb::Footprint &footprint() { return footprint_; }
  const Orb::Footprint &footprint() const { return footprint_; }

  /// Sets it up or down administratively. While it is down it neither sends nor receives, and nothing routes to it.
  void upIs(bool up);
  /// Whether it is up at a router that has power.
  bool isUp() const;

 private:
  bool mayBeNextHop(const Pax::IpGenAddr &address) const;
  void put(const IntfAddress &address);

  Router &router_;
  Link &link_;
  const Pax::IntfId intfId_;
  bool up_ = true;  // as the status says, which each packet would have to fetch
  Orb::Footprint footprint_;
  const Kiv::Ptr<Ip::IntfStatus> status_;
  Pax::IpGenAddr address_;
  Pax::IpGenAddr nextHop_;
};

}  // namespace Sim
