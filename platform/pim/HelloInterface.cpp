#include "platform/pim/HelloInterface.h"

#include <algorithm>
#include <utility>

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

HelloSpeaker::Interface::Interface(HelloSpeaker &speaker, const Pax::IntfId &intfId)
    : speaker_(speaker), intfId_(intfId), reactor_(std::make_unique<StatusReactor>(*this)) {}

HelloSpeaker::Interface::~Interface() = default;

void HelloSpeaker::Interface::intfStatusIs(const Kiv::Ptr<const Ip::IntfStatus> &intfStatus) {
  if (intfStatus == intfStatus_) return;
  intfStatus_ = intfStatus;
  toldAll_ = false;
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
  pimIntf_->neighborsMostIs(speaker_.parameters_.neighborsMost);
  settle();
  electDr();
  if (speaker_.parameters_.speak) speakFromNowOn();
}

void HelloSpeaker::Interface::noteFootprint() {
  Orb::Footprint *const footprint = speaker_.port_->footprint(intfId_);
  periodic_.footprintIs(footprint);
  if (!footprint) return;
  speaker_.noteFootprint(*footprint);
  footprint->add(this, &intfStatus_);
  if (neighbor_.size() != 1) return;
  for (const auto &[address, neighbor] : neighbor_) {
    footprint->add(neighbor);
    footprint->add(*neighbor);
    footprint->add(*neighbor->status);
  }
}

void HelloSpeaker::Interface::stop() {
  TRACELET(trace, 4, "PIM is off at " << intfId_);
  periodic_.timeMinIs(Orb::never);
  triggered_.timeMinIs(Orb::never);
  spoke_ = toldAll_ = false;
  for (const Pax::IpGenAddr &address : neighbor_.keys()) neighbor_.erase(address);
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
  toldAll_ = false;
  neighborDel(pimIntf_->address());
  electDr();
  sendHello();
}

void HelloSpeaker::Interface::ownListChanged() {
  toldAll_ = false;
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
  pimIntf_->neighborsMostIs(now.neighborsMost);
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
  hello->addressList = toldAll_ ? told_ : ownList();
  if (!speaker_.port_->send(intfId_, *hello)) return false;
  spoke_ = everyoneHeardUs_ = !goodbye;
  if (!std::exchange(toldAll_, true)) told_ = hello->addressList;
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
  if (address == pimIntf_->address()) return true;
  return address.af() == Pax::AddressFamily::ipv6 ? intfStatus_->address().contains(address)
                                                  : speaker_.ownAddresses_.contains(address);
}

bool HelloSpeaker::Interface::isStillOther(Neighbor &neighbor) const {
  const uint32_t version = speaker_.ownAddresses_.version();
  if (neighbor.otherSince == version) return true;
  if (isOurs(neighbor.address)) return false;
  neighbor.otherSince = version;
  return true;
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
  if (!pimIntf_) return;
  Neighbor *const known = neighbor(hello.source());
  if (known ? !isStillOther(*known) : isOurs(hello.source())) return;
  if (hello.holdTime() == 0) {
    if (const auto leaving = pimIntf_->neighbor(hello.source())) leaving->saidGoodbyeIs(true);
    return neighborDel(hello.source());
  }
  if (known) return refresh(*known, hello);
  if (Neighbor *const stranger = neighborIs(hello)) {
    refresh(*stranger, hello);
    electDr();
  }
}

void HelloSpeaker::Interface::greet() {
  everyoneHeardUs_ = false;
  if (triggered_.armed()) return;
  const double delay =
      speaker_.parameters_.speak ? speaker_.random_.uniform(0, triggeredDelayMost) : triggeredDelayMost;
  triggered_.timeMinIs(speaker_.wheel_->now() + delay);
}

void HelloSpeaker::Interface::electDr() {
  pimIntf_->drPriorityIs(speaker_.parameters_.drPriority);
  pimIntf_->drIs(pimIntf_->electedDr([](const auto &, const auto &) { return true; }));
  pimIntf_->isDrIs(pimIntf_->dr() == pimIntf_->address());
}

}  // namespace Routing::Pim::IO
