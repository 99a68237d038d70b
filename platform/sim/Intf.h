/// An end of a link at a router.
#pragma once

#include "platform/ip/IntfStatus.h"
#include "platform/sim/Link.h"

namespace Sim {

class Router;

/// Up from the start, with an address of the link's subnet (of its router where the link is
/// unnumbered), and in IPv6 a link-local one before it.
class Intf {
 public:
  Intf(Router &router, Link &link, const Pax::IntfId &intfId, const Kiv::Ptr<Ip::IntfStatus> &status);

  Router &router() const { return router_; }
  Link &link() const { return link_; }
  const Pax::IntfId &intfId() const { return intfId_; }
  const Kiv::Ptr<Ip::IntfStatus> &status() const { return status_; }
  const Pax::IpGenAddr &address() const { return address_; }
  /// Unset in IPv4.
  const Pax::IpGenAddr &linkLocal() const { return linkLocal_; }
  /// What neighbours route to: the link-local address where there is one, nothing but the interface on
  /// an unnumbered link.
  const Pax::IpGenAddr &nextHopAddress() const { return nextHop_; }
  /// Gives it this address besides, and lets neighbours route to that one.
  void nextHopAddressIs(const Pax::IpGenAddr &address);

  /// Down (administratively), it neither sends nor receives, and its addresses count for nothing.
  void upIs(bool up);
  /// Up, at a router that has power.
  bool isUp() const;

 private:
  Router &router_;
  Link &link_;
  const Pax::IntfId intfId_;
  const Kiv::Ptr<Ip::IntfStatus> status_;
  Pax::IpGenAddr address_;
  Pax::IpGenAddr linkLocal_;
  Pax::IpGenAddr nextHop_;
};

}  // namespace Sim
