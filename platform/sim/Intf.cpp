#include "platform/sim/Intf.h"

#include "platform/sim/Addresses.h"
#include "platform/sim/Network.h"
#include "platform/sim/Router.h"

namespace Sim {

Intf::Intf(Router &router, Link &link, const Pax::IntfId &intfId, const Kiv::Ptr<Ip::IntfStatus> &status)
    : router_(router),
      link_(link),
      intfId_(intfId),
      status_(status),
      address_(link.parameters().unnumbered
                   ? router.address()
                   : memberAddress(link.subnet(), static_cast<uint32_t>(link.members().size()))) {
  const Pax::AddressFamily family = link.subnet().af();
  const bool unnumbered = link.parameters().unnumbered;
  if (!unnumbered) nextHop_ = address_;
  if (family == Pax::AddressFamily::ipv6) {
    nextHop_ = linkLocalAddress(router.index());
    status->addressIs(nextHop_, {.subnet = {nextHop_, 64}, .global = false});
  }
  status->addressIs(address_, {.subnet = unnumbered ? Pax::IpGenPrefix::host(address_) : link.subnet()});
  status->adminUpIs(true);
  Ip::chooseAddresses(*status, family);
  status->mtuIs(link.parameters().mtu);
  status->upIs(true);
}

void Intf::nextHopAddressIs(const Pax::IpGenAddr &address) {
  status_->addressIs(address, {.subnet = {address, link_.subnet().length()}, .global = !address.isLinkLocal()});
  Ip::chooseAddresses(*status_, link_.subnet().af());
  nextHop_ = address;
  router_.network().topologyChanged();
}

void Intf::upIs(bool up) {
  if (status_->up() == up) return;
  router_.network().topologyChanged();
  status_->upIs(up);
  status_->adminUpIs(up);
  Ip::chooseAddresses(*status_, link_.subnet().af());
}

bool Intf::isUp() const { return status_->up() && router_.hasPower(); }

}  // namespace Sim
