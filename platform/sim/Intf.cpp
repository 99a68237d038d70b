#include "platform/sim/Intf.h"

#include <algorithm>

#include "platform/sim/Addresses.h"
#include "platform/sim/Network.h"
#include "platform/sim/Router.h"

namespace Sim {

Intf::Intf(Router &router, Link &link, const Pax::IntfId &intfId, const Kiv::Ptr<Ip::IntfStatus> &status,
           const std::vector<IntfAddress> &addresses)
    : router_(router), link_(link), intfId_(intfId), status_(status) {
  const Pax::AddressFamily family = link.subnet().af();
  const bool hasLinkLocal = std::any_of(addresses.begin(), addresses.end(),
                                        [](const IntfAddress &each) { return each.address.isLinkLocal(); });
  if (family == Pax::AddressFamily::ipv6 && !hasLinkLocal) {
    const Pax::IpGenAddr linkLocal = linkLocalAddress(router.index());
    put({linkLocal, {linkLocal, 64}});
  }
  for (const IntfAddress &each : addresses) put(each);
  if (addresses.empty() && link.parameters().unnumbered) {
    put({router.address(), Pax::IpGenPrefix::host(router.address())});
    if (family == Pax::AddressFamily::ipv4) nextHop_ = {};
  } else if (addresses.empty()) {
    put({memberAddress(link.subnet(), static_cast<uint32_t>(link.members().size())), link.subnet()});
  }
  status->adminUpIs(true);
  Ip::chooseAddresses(*status, family);
  status->mtuIs(link.parameters().mtu);
  status->upIs(true);
}

// In IPv6 routes name link-local addresses.
bool Intf::mayBeNextHop(const Pax::IpGenAddr &address) const {
  return address.isLinkLocal() || link_.subnet().af() == Pax::AddressFamily::ipv4;
}

void Intf::put(const IntfAddress &address) {
  status_->addressIs(address.address, {.subnet = address.subnet, .global = !address.address.isLinkLocal()});
  if (address_.isZero() && !address.address.isLinkLocal()) address_ = address.address;
  if (nextHop_.isZero() && mayBeNextHop(address.address)) nextHop_ = address.address;
  if (!address.address.isLinkLocal()) router_.network().subnetIs(address, *this);
}

void Intf::addressIs(const IntfAddress &address) {
  put(address);
  Ip::chooseAddresses(*status_, link_.subnet().af());
  router_.network().topologyChanged();
}

void Intf::addressDel(const Pax::IpGenAddr &address) {
  status_->addressDel(address);
  Ip::chooseAddresses(*status_, link_.subnet().af());
  if (nextHop_ == address) nextHop_ = {};
  for (const auto &[other, info] : status_->address()) {
    if (nextHop_.isZero() && mayBeNextHop(other)) nextHop_ = other;
  }
  router_.network().topologyChanged();
}

void Intf::nextHopAddressIs(const Pax::IpGenAddr &address) {
  nextHop_ = address;
  addressIs({address, {address, link_.subnet().length()}});
}

void Intf::upIs(bool up) {
  if (up_ == up) return;
  up_ = up;
  router_.network().topologyChanged();
  status_->upIs(up);
  status_->adminUpIs(up);
  Ip::chooseAddresses(*status_, link_.subnet().af());
}

bool Intf::isUp() const { return up_ && router_.hasPower(); }

}  // namespace Sim
