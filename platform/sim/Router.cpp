#include "platform/sim/Router.h"

#include <algorithm>

#include "platform/sim/Addresses.h"
#include "platform/sim/Network.h"

namespace Sim {

constexpr uint32_t hopsMost = 64;

Router::Router(Network &network, std::string name, const std::string &vrf, uint32_t index, uint64_t seed)
    : network_(network),
      index_(index),
      name_(std::move(name)),
      vrf_(vrf),
      address_(loopbackAddress(network.af(), index)),
      random_(seed),
      interfaces_(Kiv::make<Ip::AllIntfStatusDir>()),
      routes_(Kiv::make<Routes>(network, *this)),
      wheel_(Kiv::make<Orb::TimerWheel>(network.time(), network.time())) {
  stubIs("lo");
  addressIs(address_);
}

void Router::stubIs(const std::string &name) {
  const auto status = interfaces_->intfStatusIs({vrf_, name});
  status->mtuIs(name == "lo" ? 65536 : 1500);
  status->adminUpIs(true);
  status->upIs(true);
}

void Router::stubUpIs(const std::string &name, bool up) {
  const auto status = interfaces_->intfStatus({vrf_, name});
  status->upIs(up);
  status->adminUpIs(up);
  Ip::chooseAddresses(*status, network_.af());
  network_.topologyChanged();
}

void Router::addressIs(const Pax::IpGenAddr &address, const std::string &stub) {
  const auto status = interfaces_->intfStatus({vrf_, stub});
  status->addressIs(address, {.subnet = Pax::IpGenPrefix::host(address)});
  Ip::chooseAddresses(*status, network_.af());
  if (address_.isZero()) address_ = address;
  network_.ownerIs(address, *this);
}

void Router::addressDel(const Pax::IpGenAddr &address, const std::string &stub) {
  const auto status = interfaces_->intfStatus({vrf_, stub});
  status->addressDel(address);
  Ip::chooseAddresses(*status, network_.af());
  if (address_ == address) address_ = {};
  network_.topologyChanged();
}

bool Router::owns(const Pax::IpGenAddr &address) const {
  for (const auto &[intfId, status] : interfaces_->intfStatus()) {
    if (status->up() && status->address().contains(address)) return true;
  }
  return false;
}

Intf &Router::join(Link &link, const IntfParameters &parameters) {
  const std::string name = parameters.name.empty() ? "eth" + std::to_string(intfs_.size()) : parameters.name;
  const Pax::IntfId intfId(vrf_, name);
  Intf &intf = intfs_.emplace_back(*this, link, intfId, interfaces_->intfStatusIs(intfId), parameters.addresses);
  intfById_.emplace(intfId, &intf);
  intfList_.emplace_back(intfId, &intf);
  link.memberIs(intf);
  if (speaker_ && !pimInterfaces_) speaker_->intfIs(intfId);
  return intf;
}

Intf *Router::intf(const Pax::IntfId &intfId) const {
  constexpr size_t few = 8;  // which stand together, where a table would be one more thing to fetch
  if (intfList_.size() <= few) {
    const auto found = std::ranges::find(intfList_, intfId, &std::pair<Pax::IntfId, Intf *>::first);
    return found == intfList_.end() ? nullptr : found->second;
  }
  const auto found = intfById_.find(intfId);
  return found == intfById_.end() ? nullptr : found->second;
}

Orb::Footprint *Router::emptyFootprint(const Pax::IntfId &intfId) const {
  Intf *const intf = this->intf(intfId);
  if (!intf) return nullptr;
  Orb::Footprint &footprint = intf->footprint();
  footprint.clear();
  footprint.add(this, &intfs_);
  footprint.add(intfList_.data(), intfList_.data() + intfList_.size());
  footprint.add(intf, &footprint);
  intf->link().noteFootprint(footprint);
  return &footprint;
}

Intf &Router::intfAt(const Link &link) {
  const auto found = std::find_if(intfs_.begin(), intfs_.end(), [&](Intf &intf) { return &intf.link() == &link; });
  REQUIRE(found != intfs_.end());
  return *found;
}

std::vector<Pax::IntfId> Router::pimInterfaces() const {
  if (pimInterfaces_) return *pimInterfaces_;
  std::vector<Pax::IntfId> interfaces;
  for (const Intf &intf : intfs_) interfaces.push_back(intf.intfId());
  return interfaces;
}

void Router::pimIs(const HelloParameters &parameters, const std::vector<Pax::IntfId> &interfaces) {
  const std::vector<Pax::IntfId> before = pimInterfaces();
  hello_ = parameters;
  // Ids that share a record with those of packets are found without looking at names.
  pimInterfaces_.emplace();
  for (const Pax::IntfId &intfId : interfaces) {
    const Intf *const own = intf(intfId);
    pimInterfaces_->push_back(own ? own->intfId() : intfId);
  }
  if (!speaker_) return;
  speaker_->parametersIs(parameters);
  const auto isIn = [](const std::vector<Pax::IntfId> &list, const Pax::IntfId &intfId) {
    return std::find(list.begin(), list.end(), intfId) != list.end();
  };
  for (const Pax::IntfId &intfId : *pimInterfaces_) {
    if (!isIn(before, intfId)) speaker_->intfIs(intfId);
  }
  for (const Pax::IntfId &intfId : before) {
    if (!isIn(interfaces, intfId)) speaker_->intfDel(intfId);
  }
}

void Router::pimStart(const Kiv::Ptr<const Redundancy::RedundancyStatus> &redundancyStatus) {
  REQUIRE(power_ && !pimRuns());
  hello_.redundancyStatus = redundancyStatus;
  pimStatus_ = Kiv::make<Routing::Pim::Status>(name_);
  port_ = Kiv::make<Port>(*this);
  speaker_ = Kiv::make<Routing::Pim::IO::HelloSpeaker>(pimStatus_, interfaces_, port_, wheel_, random_, hello_);
  for (const Pax::IntfId &intfId : pimInterfaces()) speaker_->intfIs(intfId);
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
