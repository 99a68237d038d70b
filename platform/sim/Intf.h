/// The end of a link at a router. The router owns it.
#pragma once

#include "platform/ip/IntfStatus.h"
#include "platform/sim/Link.h"

namespace Sim {

class Router;

/// It is up from the start and keeps its IntfStatus as a kernel would. It has an address of the link's subnet, or
/// that of its router if the link is unnumbered, and in IPv6 a link-local address before it.
class Intf {
 public:
  Intf(Router &router, Link &link, const Pax::IntfId &intfId, const Kiv::Ptr<Ip::IntfStatus> &status);

  Router &router() const { return router_; }
  Link &link() const { return link_; }
  const Pax::IntfId &intfId() const { return intfId_; }
  const Kiv::Ptr<Ip::IntfStatus> &status() const { return status_; }
  const Pax::IpGenAddr &address() const { return address_; }
  /// What neighbors route to: the link-local address in IPv6; on an unnumbered link of IPv4 it is unset, and their
  /// routes name only the interface.
  const Pax::IpGenAddr &nextHopAddress() const { return nextHop_; }
  /// Adds this address, and lets neighbors route to it.
  void nextHopAddressIs(const Pax::IpGenAddr &address);

  /// Sets it up or down administratively. While it is down it neither sends nor receives, and nothing routes to it.
  void upIs(bool up);
  /// Whether it is up at a router that has power.
  bool isUp() const;

 private:
  Router &router_;
  Link &link_;
  const Pax::IntfId intfId_;
  const Kiv::Ptr<Ip::IntfStatus> status_;
  Pax::IpGenAddr address_;
  Pax::IpGenAddr nextHop_;
};

}  // namespace Sim
