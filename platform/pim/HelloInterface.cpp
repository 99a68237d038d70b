#include "platform/pim/HelloInterface.h"

#include <algorithm>

#include "platform/kiv/ReactorOf.h"
#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::IO {

static Tracelet::Module trace("Pim::Hello");

class HelloSpeaker::Interface::StatusReactor : public Kiv::ReactorOf<Ip::IntfStatus, Interface> {
  using ReactorOf::ReactorOf;
  void onUp() override { owner_.settle(); }
  void onMtu() override { owner_.settle(); }
  void onPimAddr() override { owner_.settle(); }
  void onAddress(const Pax::IpGenAddr &) override { owner_.ownListChanged(); }
};

// A neighbor with the timer of its holdtime.
struct HelloSpeaker::Interface::Neighbor {
  Neighbor(Interface &interface, const Pax::IpGenAddr &address, const Kiv::Ptr<PimNeighbor> &status)
      : interface(interface), address(address), status(status) {}
  void expire() { interface.neighborDel(address); }

  Interface &interface;
  const Pax::IpGenAddr address;
  const Kiv::Ptr<PimNeighbor> status;
  Orb::TimerFor<&Neighbor::expire> expiry{interface.speaker_.wheel_, *this};
};

HelloSpeaker::Interface::Interface(HelloSpeaker &speaker, const Pax::IntfId &intfId)
    : speaker_(speaker), intfId_(intfId), reactor_(std::make_unique<StatusReactor>(*this)) {}

HelloSpeaker::Interface::~Interface() = default;

void HelloSpeaker::Interface::intfStatusIs(const Kiv::Ptr<const Ip::IntfStatus> &intfStatus) {
  if (intfStatus == intfStatus_) return;
  intfStatus_ = intfStatus;
  reactor_->notifierIs(intfStatus);
  settle();
}

void HelloSpeaker::Interface::settle() {
  const bool isUp = intfStatus_ && intfStatus_->up();
  if (!isUp || intfStatus_->pimAddr().isZero() || speaker_.standby()) {
    if (!pimIntf_) return;
    if (isUp) sendHello(0);
    return stop();
  }
  if (!pimIntf_) return start();
  if (pimIntf_->address() != intfStatus_->pimAddr()) addressChanged();
  const uint32_t most = std::min(intfStatus_->mtu(), packetMost);
  pimIntf_->mtuIs(speaker_.port_->af() == Pax::AddressFamily::ipv6 ? most / 2 : most);
}

void HelloSpeaker::Interface::start() {
  TRACELET(trace, 4, "PIM is on at " << intfId_ << " with address " << intfStatus_->pimAddr());
  pimIntf_ = speaker_.status_->pimIntfIs(intfId_);
  pimIntf_->addressIs(intfStatus_->pimAddr());
  settle();
  electDr();
  if (speaker_.parameters_.speak) speakFromNowOn();
}

void HelloSpeaker::Interface::stop() {
  TRACELET(trace, 4, "PIM is off at " << intfId_);
  periodic_.timeMinIs(Orb::never);
  triggered_.timeMinIs(Orb::never);
  spoke_ = false;
  neighbor_.clear();
  owner_.clear();
  pimIntf_ = nullptr;
  speaker_.status_->pimIntfDel(intfId_);
}

void HelloSpeaker::Interface::leave() {
  if (!pimIntf_) return;
  sendHello(0);
  stop();
}

// RFC 7761 section 4.3.1: goodbye from the old address, then Hello from the new.
void HelloSpeaker::Interface::addressChanged() {
  sendHello(0);
  pimIntf_->addressIs(intfStatus_->pimAddr());
  neighborDel(pimIntf_->address());
  electDr();
  sendHello();
}

void HelloSpeaker::Interface::ownListChanged() {
  if (!pimIntf_ || !everyoneHeardUs_ || ownList() == told_) return;
  if (speaker_.parameters_.speak) periodic_.timeMinIs(speaker_.wheel_->now());
}

void HelloSpeaker::Interface::speakFromNowOn() {
  generationId_ = speaker_.random_.next();
  everyoneHeardUs_ = false;
  periodic_.timeMinIs(speaker_.wheel_->now() + speaker_.random_.uniform(0, triggeredDelayMost));
}

void HelloSpeaker::Interface::parametersChanged(const Parameters &before) {
  if (!pimIntf_) return;
  const Parameters &now = speaker_.parameters_;
  if (now.speak && !before.speak) speakFromNowOn();
  if (!now.speak) periodic_.timeMinIs(Orb::never);
  if (now.drPriority == before.drPriority) return;
  sendHello();
  electDr();
}

bool HelloSpeaker::Interface::sendHello(uint16_t holdTime) {
  const bool goodbye = holdTime == 0;
  if (!speaker_.parameters_.speak || (goodbye && !spoke_)) return false;
  const auto hello = Kiv::make<Packet::HelloMessage>();
  hello->holdTimeIs(holdTime);
  hello->drPriorityIs(speaker_.parameters_.drPriority);
  hello->generationIdIs(generationId_);
  hello->addressList = ownList();
  if (!speaker_.port_->send(intfId_, *hello)) return false;
  spoke_ = everyoneHeardUs_ = !goodbye;
  told_ = hello->addressList;
  return true;
}

void HelloSpeaker::Interface::helloFirst() {
  if (pimIntf_ && !everyoneHeardUs_) sendHello();
}

void HelloSpeaker::Interface::periodicHello() {
  periodic_.timeMinIs(speaker_.wheel_->now() + period);
  sendHello();
}

void HelloSpeaker::Interface::triggeredHello() {
  if (speaker_.parameters_.speak && !sendHello()) return;
  pimIntf_->triggeredHelloSentInc();
}

// For IPv6 only those of this interface count: others may have the same link-local addresses.
bool HelloSpeaker::Interface::isOurs(const Pax::IpGenAddr &address) const {
  if (address == pimIntf_->address() || intfStatus_->address(address)) return true;
  if (address.af() == Pax::AddressFamily::ipv6) return false;
  for (const auto &[intfId, intfStatus] : speaker_.interfaces_->intfStatus()) {
    if (intfStatus->address(address)) return true;
  }
  return false;
}

std::vector<Pax::IpGenAddr> HelloSpeaker::Interface::ownList() const {
  std::vector<Pax::IpGenAddr> list;
  for (const auto &[address, info] : intfStatus_->address()) {
    const bool isListed =
        address.af() == speaker_.port_->af() && address != pimIntf_->address() && info.usable && !address.isLoopback();
    if (isListed && list.size() < listedMost) list.push_back(address);
  }
  return list;
}

void HelloSpeaker::Interface::helloIs(const Packet::HelloMessage &hello) {
  if (!pimIntf_ || isOurs(hello.source())) return;
  if (hello.holdTime() == 0) return neighborDel(hello.source());
  if (Neighbor *neighbor = neighborFor(hello)) refresh(*neighbor, hello);
}

HelloSpeaker::Interface::Neighbor *HelloSpeaker::Interface::neighborFor(const Packet::HelloMessage &hello) {
  if (const auto present = neighbor_.find(hello.source()); present != neighbor_.end()) return present->second.get();
  if (neighbor_.size() >= neighborsMost) {
    TRACELET(trace, 1, "Too many neighbors on " << intfId_ << ", refusing " << hello.source());
    return nullptr;
  }
  TRACELET(trace, 4, "New neighbor " << hello.source() << " on " << intfId_);
  const Kiv::Ptr<PimNeighbor> status = pimIntf_->neighborIs(hello.source());
  status->upTimeIs(speaker_.wheel_->now());
  auto &neighbor = neighbor_[hello.source()] = std::make_unique<Neighbor>(*this, hello.source(), status);
  status->hasGenerationIdIs(hello.generationId().has_value());
  status->generationIdIs(hello.generationId().value_or(0));
  greet();
  return neighbor.get();
}

void HelloSpeaker::Interface::refresh(Neighbor &neighbor, const Packet::HelloMessage &hello) {
  const Kiv::Ptr<PimNeighbor> status = neighbor.status;
  const double now = speaker_.wheel_->now();
  const bool isForEver = hello.holdTime() == Packet::HelloMessage::holdTimeForEver;
  neighbor.expiry.timeMinIs(isForEver ? Orb::never : now + hello.holdTime());
  status->expiresIs(neighbor.expiry.timeMin());

  const uint32_t generationId = hello.generationId().value_or(0);
  if (status->hasGenerationId() != hello.generationId().has_value() || status->generationId() != generationId) {
    TRACELET(trace, 4, "Neighbor " << neighbor.address << " on " << intfId_ << " has restarted");
    status->hasGenerationIdIs(hello.generationId().has_value());
    status->generationIdIs(generationId);
    status->upTimeIs(now);
    greet();
  }
  secondaryAre(neighbor, hello.addressList);
  status->hasDrPriorityIs(hello.drPriority().has_value());
  status->drPriorityIs(hello.drPriority().value_or(1));
  electDr();
}

void HelloSpeaker::Interface::secondaryAre(Neighbor &neighbor, const std::vector<Pax::IpGenAddr> &list) {
  for (const Pax::IpGenAddr &address : list) {
    // A neighbor that died and came back with another of its addresses.
    if (address != neighbor.address) neighborDel(address);
    const auto [claim, isNew] = owner_.try_emplace(address, neighbor.address);
    if (!isNew && claim->second != neighbor.address) {
      neighbor_.at(claim->second)->status->secondaryDel(address);
      claim->second = neighbor.address;
    }
    neighbor.status->secondaryIs(address);
  }
  std::vector<Pax::IpGenAddr> sorted = list;
  std::sort(sorted.begin(), sorted.end());
  for (const Pax::IpGenAddr &address : neighbor.status->secondary().keys()) {
    if (!std::binary_search(sorted.begin(), sorted.end(), address)) secondaryDel(neighbor, address);
  }
}

void HelloSpeaker::Interface::secondaryDel(Neighbor &neighbor, const Pax::IpGenAddr &address) {
  owner_.erase(address);
  neighbor.status->secondaryDel(address);
}

void HelloSpeaker::Interface::greet() {
  everyoneHeardUs_ = false;
  if (triggered_.armed()) return;
  const double delay =
      speaker_.parameters_.speak ? speaker_.random_.uniform(0, triggeredDelayMost) : triggeredDelayMost;
  triggered_.timeMinIs(speaker_.wheel_->now() + delay);
}

// By value, since the address may belong to the neighbor that is being deleted.
void HelloSpeaker::Interface::neighborDel(Pax::IpGenAddr address) {
  const auto gone = neighbor_.find(address);
  if (gone == neighbor_.end()) return;
  TRACELET(trace, 4, "Neighbor " << address << " on " << intfId_ << " is gone");
  for (const Pax::IpGenAddr &secondary : gone->second->status->secondary().keys()) owner_.erase(secondary);
  neighbor_.erase(gone);
  pimIntf_->neighborDel(address);
  electDr();
}

void HelloSpeaker::Interface::electDr() {
  pimIntf_->drPriorityIs(speaker_.parameters_.drPriority);
  pimIntf_->drIs(pimIntf_->electedDr([](const auto &, const auto &) { return true; }));
  pimIntf_->isDrIs(pimIntf_->dr() == pimIntf_->address());
}

}  // namespace Routing::Pim::IO
