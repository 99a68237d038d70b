#include "platform/sim/Router.h"

#include <algorithm>

#include "platform/sim/Addresses.h"
#include "platform/sim/Network.h"

namespace Sim {

constexpr uint32_t hopsMost = 64;

Router::Router(Network &network, std::string name, const std::string &vrf, uint32_t index, uint64_t seed)
    : network_(network),
      name_(std::move(name)),
      vrf_(vrf),
      index_(index),
      address_(loopbackAddress(network.af(), index)),
      random_(seed),
      interfaces_(Kiv::make<Ip::AllIntfStatusDir>()),
      loopback_(interfaces_->intfStatusIs({vrf_, "lo"})),
      routes_(Kiv::make<Routes>(network, *this)),
      wheel_(Kiv::make<Orb::TimerWheel>(network.time(), network.time())) {
  loopback_->mtuIs(65536);
  loopback_->adminUpIs(true);
  loopback_->upIs(true);
  addressIs(address_);
}

void Router::addressIs(const Pax::IpGenAddr &address) {
  loopback_->addressIs(address, {.subnet = Pax::IpGenPrefix::host(address)});
  Ip::chooseAddresses(*loopback_, network_.af());
  network_.ownerIs(address, *this);
}

void Router::addressDel(const Pax::IpGenAddr &address) {
  loopback_->addressDel(address);
  Ip::chooseAddresses(*loopback_, network_.af());
}

bool Router::owns(const Pax::IpGenAddr &address) const {
  return loopback_->address().contains(address) || std::any_of(intfs_.begin(), intfs_.end(), [&](const Intf &intf) {
           return intf.status()->up() && intf.status()->address().contains(address);
         });
}

Intf &Router::join(Link &link) {
  const Pax::IntfId intfId(vrf_, "eth" + std::to_string(intfs_.size()));
  Intf &intf = intfs_.emplace_back(*this, link, intfId, interfaces_->intfStatusIs(intfId));
  intfById_.emplace(intfId, &intf);
  link.memberIs(intf);
  if (speaker_) speaker_->intfIs(intfId);
  return intf;
}

Intf *Router::intf(const Pax::IntfId &intfId) const {
  const auto found = intfById_.find(intfId);
  return found == intfById_.end() ? nullptr : found->second;
}

Intf &Router::intfAt(const Link &link) {
  const auto found = std::find_if(intfs_.begin(), intfs_.end(), [&](Intf &intf) { return &intf.link() == &link; });
  REQUIRE(found != intfs_.end());
  return *found;
}

void Router::pimStart(const HelloParameters &parameters) {
  REQUIRE(power_ && !pimRuns());
  pimStatus_ = Kiv::make<Routing::Pim::Status>(name_);
  port_ = Kiv::make<Port>(*this);
  speaker_ = Kiv::make<Routing::Pim::IO::HelloSpeaker>(pimStatus_, interfaces_, port_, wheel_, random_, parameters);
  for (const Intf &intf : intfs_) speaker_->intfIs(intf.intfId());
}

void Router::pimStop(bool goodbye) {
  if (speaker_ && goodbye) speaker_->shutDown();
  speaker_ = nullptr;
  port_ = nullptr;
  pimStatus_ = nullptr;
}

void Router::powerIs(bool power) {
  if (power_ == power) return;
  REQUIRE(!pimRuns());
  power_ = power;
  network_.topologyChanged();
}

void Router::receive(Intf &intf, const Packet &packet, uint32_t hops) {
  if (!intf.isUp()) return;
  if (!packet.destination.isMulticast() && !owns(packet.destination)) {
    if (hops > 0) forward(packet, hops - 1);
    return;
  }
  // A consumer may end the process in which the packet arrives.
  if (const Kiv::Ptr<Port> port = port_)
    port->arrive({intf.intfId(), packet.source, packet.destination, packet.payload});
}

bool Router::transmit(const Packet &packet) {
  if (!power_) return false;
  if (packet.intfId.isEmpty()) return forward(packet, hopsMost);
  Intf *const from = intf(packet.intfId);
  if (!from || !from->isUp()) return false;
  if (packet.destination.isMulticast()) return from->link().send(*from, packet, nullptr, 0);
  Intf *const to = from->link().memberWith(packet.destination);
  return to && from->link().send(*from, packet, to, 0);
}

bool Router::forward(const Packet &packet, uint32_t hops) {
  const Routing::RouteAnswer &answer = routes_->lookup(packet.destination);
  // A packet to ourselves would arrive on the loopback interface, where PIM is off.
  if (answer.kind == Routing::RouteAnswer::Kind::local) return true;
  if (answer.via.empty()) return false;
  const Routing::NextHop &nextHop = answer.via.front();
  Intf &from = *intf(nextHop.intfId);
  Intf *to = from.link().memberWith(nextHop.address.isZero() ? packet.destination : nextHop.address);
  if (!to && nextHop.address.isZero()) to = from.link().peerOf(from);
  return to && from.link().send(from, packet, to, hops);
}

}  // namespace Sim
