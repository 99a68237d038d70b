// The neighbors of one interface of the Hello speaker.
#include <algorithm>

#include "platform/pim/HelloInterface.h"
#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::IO {

static Tracelet::Module trace("Pim::Hello");

static constexpr uint32_t drPriorityDefault = 1;  // of who says none

HelloSpeaker::Interface::Neighbor *HelloSpeaker::Interface::neighbor(const Pax::IpGenAddr &address) const {
  const auto *known = neighbor_.find(address);
  return known ? known->get() : nullptr;
}

HelloSpeaker::Interface::Neighbor *HelloSpeaker::Interface::neighborIs(const Packet::HelloMessage &hello) {
  if (!makeRoom()) {
    pimIntf_->helloRefusedInc();
    return nullptr;
  }
  TRACELET(trace, 4, "New neighbor " << hello.source() << " on " << intfId_);
  // Who sends from an address has it, whoever lists it.
  if (const auto claim = owner_.find(hello.source()); claim != owner_.end()) {
    secondaryDel(*neighbor(claim->second), hello.source());
  }
  const Kiv::Ptr<PimNeighbor> status = pimIntf_->neighborIs(hello.source());
  status->upTimeIs(speaker_.wheel_->now());
  const auto &neighbor = neighbor_.insert(hello.source(), std::make_unique<Neighbor>(*this, hello.source(), status));
  status->hasGenerationIdIs(hello.generationId().has_value());
  status->generationIdIs(hello.generationId().value_or(0));
  status->hasDrPriorityIs(hello.drPriority().has_value());
  status->drPriorityIs(hello.drPriority().value_or(drPriorityDefault));
  noteFootprint();
  greet();
  return neighbor.get();
}

bool HelloSpeaker::Interface::makeRoom() {
  if (neighbor_.size() < pimIntf_->neighborsMost()) return true;
  ++speaker_.port_->messageCounters()->packets.neighborsOverLimit;
  if (complaint_.take(speaker_.wheel_->now())) {
    TRACELET(trace, 1, "No more than " << pimIntf_->neighborsMost() << " neighbors are kept on " << intfId_);
  }
  const auto rank = [](const Neighbor &neighbor) {
    const bool isForEver = neighbor.expiry.timeMin() == Orb::never;
    return std::tuple(neighbor.status->onlyHello(), isForEver, neighbor.status->upTime(), neighbor.address);
  };
  const Neighbor *last = nullptr;
  for (const auto &[address, neighbor] : neighbor_) {
    if (!last || rank(*neighbor) > rank(*last)) last = neighbor.get();
  }
  if (!last || (!last->status->onlyHello() && last->expiry.timeMin() != Orb::never)) return false;
  neighborDel(last->address);
  return true;
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
  const uint32_t drPriority = hello.drPriority().value_or(drPriorityDefault);
  if (status->hasDrPriority() == hello.drPriority().has_value() && status->drPriority() == drPriority) return;
  status->hasDrPriorityIs(hello.drPriority().has_value());
  status->drPriorityIs(drPriority);
  electDr();
}

// RFC 7761 section 4.3.4 lets the latest claim stand, by which any router of the link could take the addresses of any
// other. Here the first one stands. A neighbor that died and came back with another of its addresses gets the rest
// with its next Hello after the old one has expired.
void HelloSpeaker::Interface::secondaryAre(Neighbor &neighbor, const std::vector<Pax::IpGenAddr> &list) {
  if (list.empty() && neighbor.status->secondary().empty()) return;
  std::vector<Pax::IpGenAddr> sorted = list;
  std::sort(sorted.begin(), sorted.end());
  for (const Pax::IpGenAddr &address : neighbor.status->secondary().keys()) {
    if (!std::binary_search(sorted.begin(), sorted.end(), address)) secondaryDel(neighbor, address);
  }
  std::string refused;
  size_t more = 0;
  for (const Pax::IpGenAddr &address : list) {
    if (address == neighbor.address) continue;
    const std::string reason = whyNot(neighbor, address);
    if (reason.empty()) {
      owner_.try_emplace(address, neighbor.address);
      neighbor.status->secondaryIs(address);
    } else if (refused.empty()) {
      refused = Kiv::toText(address) + ", but " + reason;
    } else {
      ++more;
    }
  }
  if (refused.empty()) return;
  TRACELET(trace, 1,
           "Neighbor " << neighbor.address << " on " << intfId_ << " lists " << refused << "; not taken over, nor are "
                       << more << " others of its list");
}

std::string HelloSpeaker::Interface::whyNot(const Neighbor &neighbor, const Pax::IpGenAddr &address) const {
  if (address == pimIntf_->address() || intfStatus_->address(address)) return "that is ours";
  if (neighbor_.contains(address)) return "that is a neighbor of its own";
  if (const auto claim = owner_.find(address); claim != owner_.end()) {
    return claim->second == neighbor.address ? "" : "neighbor " + Kiv::toText(claim->second) + " has it";
  }
  return neighbor.status->secondary().size() < secondaryMost ? "" : "it has too many";
}

void HelloSpeaker::Interface::secondaryDel(Neighbor &neighbor, const Pax::IpGenAddr &address) {
  owner_.erase(address);
  neighbor.status->secondaryDel(address);
}

// By value, since the address may belong to the neighbor that is being deleted.
void HelloSpeaker::Interface::neighborDel(Pax::IpGenAddr address) {
  const Neighbor *const gone = neighbor(address);
  if (!gone) return;
  TRACELET(trace, 4, "Neighbor " << address << " on " << intfId_ << " is gone");
  for (const Pax::IpGenAddr &secondary : gone->status->secondary().keys()) owner_.erase(secondary);
  neighbor_.erase(address);
  pimIntf_->neighborDel(address);
  noteFootprint();
  electDr();
}

}  // namespace Routing::Pim::IO
