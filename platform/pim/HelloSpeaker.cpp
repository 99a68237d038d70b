#include "platform/pim/HelloSpeaker.h"

#include <algorithm>

#include "platform/kiv/ReactorOf.h"
#include "platform/pim/HelloInterface.h"

namespace Routing::Pim::IO {

class HelloSpeaker::DirReactor : public Kiv::ReactorOf<Ip::AllIntfStatusDir, HelloSpeaker> {
  using ReactorOf::ReactorOf;
  void onIntfStatus(const Pax::IntfId &intfId) override { owner_.intfStatusChanged(intfId); }
};

class HelloSpeaker::RedundancyReactor : public Kiv::ReactorOf<Redundancy::RedundancyStatus, HelloSpeaker> {
  using ReactorOf::ReactorOf;
  void onProtocol() override { owner_.redundancyChanged(); }
  void onMode() override { owner_.redundancyChanged(); }
};

HelloSpeaker::HelloSpeaker(const Kiv::Ptr<Status> &status, const Kiv::Ptr<const Ip::AllIntfStatusDir> &interfaces,
                           const Kiv::Ptr<PacketPort> &port, const Kiv::Ptr<Orb::TimerWheel> &wheel,
                           Orb::Random &random, const Parameters &parameters)
    : port_(port),
      wheel_(wheel),
      parameters_(parameters),
      ownAddresses_(interfaces),
      status_(status),
      interfaces_(interfaces),
      random_(random),
      reactor_(std::make_unique<DirReactor>(*this, interfaces)),
      redundancyReactor_(std::make_unique<RedundancyReactor>(*this, parameters.redundancyStatus)) {
  port_->consumerIs(Packet::MessageType::hello, this);
  port_->helloSideIs(this);
}

HelloSpeaker::~HelloSpeaker() {
  port_->consumerIs(Packet::MessageType::hello, nullptr);
  port_->helloSideIs(nullptr);
}

void HelloSpeaker::intfIs(const Pax::IntfId &intfId) {
  if (interface(intfId)) return;
  const auto place = std::ranges::upper_bound(interface_, intfId, {}, &Named::first);
  Interface &added = *interface_.emplace(place, intfId, std::make_unique<Interface>(*this, intfId))->second;
  added.intfStatusIs(interfaces_->intfStatus(intfId));
}

HelloSpeaker::Interface *HelloSpeaker::interface(const Pax::IntfId &intfId) const {
  constexpr size_t few = 16;  // whose names need not be compared
  const auto found = interface_.size() <= few ? std::ranges::find(interface_, intfId, &Named::first)
                                              : std::ranges::lower_bound(interface_, intfId, {}, &Named::first);
  return found != interface_.end() && found->first == intfId ? found->second.get() : nullptr;
}

void HelloSpeaker::noteFootprint(Orb::Footprint &footprint) const {
  footprint.add(this, &status_);
  wheel_->noteFootprint(footprint);
  footprint.add(interface_.data(), interface_.data() + interface_.size());
}

void HelloSpeaker::intfDel(const Pax::IntfId &intfId) {
  const auto place = std::ranges::find(interface_, intfId, &Named::first);
  if (place == interface_.end()) return;
  const std::unique_ptr<Interface> gone = std::move(place->second);
  interface_.erase(place);
  gone->leave();
}

void HelloSpeaker::parametersIs(const Parameters &parameters) {
  const Parameters before = std::exchange(parameters_, parameters);
  for (const auto &[intfId, interface] : interface_) interface->parametersChanged(before);
}

void HelloSpeaker::redundancyChanged() {
  for (const auto &[intfId, interface] : interface_) interface->settle();
}

void HelloSpeaker::shutDown() {
  while (!interface_.empty()) intfDel(Pax::IntfId(interface_.begin()->first));
}

void HelloSpeaker::messageIs(const Pax::IntfId &intfId, const Kiv::Ptr<Packet::Message> &message) {
  if (Interface *const found = interface(intfId)) found->helloIs(static_cast<const Packet::HelloMessage &>(*message));
}

void HelloSpeaker::helloFirst(const Pax::IntfId &intfId) {
  if (Interface *const found = interface(intfId)) found->helloFirst();
}

void HelloSpeaker::spokeOtherwise(const Pax::IntfId &intfId, const Pax::IpGenAddr &source) {
  const Kiv::Ptr<PimIntf> pimIntf = status_->pimIntf(intfId);
  const Kiv::Ptr<PimNeighbor> neighbor = pimIntf ? pimIntf->neighbor(source) : nullptr;
  if (neighbor) neighbor->onlyHelloIs(false);
}

void HelloSpeaker::intfStatusChanged(const Pax::IntfId &intfId) {
  if (Interface *const found = interface(intfId)) found->intfStatusIs(interfaces_->intfStatus(intfId));
}

}  // namespace Routing::Pim::IO
