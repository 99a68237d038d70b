#include "platform/pim/PacketPort.h"

#include <algorithm>

#include "platform/kiv/ReactorOf.h"
#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::IO {

namespace {

Tracelet::Module trace("Pim::IO");

// The groups that an IPv6 advertisement may hold and still fit the receive limit of 2100 bytes.
constexpr size_t groupsMost6 = 100;

// `count` groups of an advertisement from `first` on, as one of its own.
Kiv::Ptr<Packet::CrpAdvMessage> pieceOf(const Packet::CrpAdvMessage &message, size_t first, size_t count) {
  const auto piece = Kiv::make<Packet::CrpAdvMessage>();
  piece->rpAddressIs(message.rpAddress());
  piece->priorityIs(message.priority());
  piece->holdTimeIs(message.holdTime());
  piece->prefixCountIs(static_cast<uint8_t>(count));
  const auto begin = message.groupData()->groupInfo()->group.begin() + static_cast<std::ptrdiff_t>(first);
  piece->groupData()->groupInfo()->group.assign(begin, begin + static_cast<std::ptrdiff_t>(count));
  return piece;
}

std::ostream &operator<<(std::ostream &out, const Incoming &packet) {
  return out << packet.source << " to " << packet.destination << " on " << packet.intfId;
}

}  // namespace

class PacketPort::StatusReactor : public Kiv::ReactorOf<Status, PacketPort> {
  using ReactorOf::ReactorOf;
  void onPimIntf(const Pax::IntfId &) override { owner_.found_ = {}; }
};

PacketPort::PacketPort(Pax::AddressFamily family, const Kiv::Ptr<const Status> &status,
                       const Kiv::Ptr<RouteLookup> &routes)
    : family_(family),
      codec_(family),
      messageCounters_(Kiv::make<Flume::MessageCounters>()),
      counters_(messageCounters_->packets),
      status_(status),
      routes_(routes),
      reactor_(std::make_unique<StatusReactor>(*this, status)) {}

PacketPort::~PacketPort() = default;

const PimIntf *PacketPort::pimIntf(const Pax::IntfId &intfId) {
  Found &found = foundFor(intfId);
  if (found.intfId != intfId) found = {intfId, status_->pimIntf(intfId)};
  return found.pimIntf.get();
}

Orb::Footprint *PacketPort::footprint(const Pax::IntfId &intfId) {
  Orb::Footprint *const footprint = emptyFootprint(intfId);
  const PimIntf *const pimIntf = footprint ? this->pimIntf(intfId) : nullptr;
  if (!pimIntf) return nullptr;
  footprint->add(this, &consumer_[static_cast<size_t>(Packet::MessageType::bootstrap) + 1]);
  footprint->add(foundFor(intfId));
  footprint->add(*pimIntf);
  footprint->add(counters_.received);
  footprint->add(messageCounters_->ofType(Packet::MessageType::hello));
  return footprint;
}

void PacketPort::consumerIs(Packet::MessageType type, MessageConsumer *consumer) {
  consumer_[static_cast<size_t>(type)] = consumer;
}

void PacketPort::receive(const Incoming &packet) {
  if (packet.source.af() != family_ || packet.destination.af() != family_) {
    ++counters_.wrongFamily;
    TRACELET(trace, 1, "RX - Error - Dropping packet from " << packet << ": not of family " << family_);
    tellRefused(Refusal::wrongFamily, packet);
    return;
  }
  const PimIntf *const pimIntf = this->pimIntf(packet.intfId);
  if (!pimIntf) {
    ++counters_.pimOff;
    TRACELET(trace, 1, "RX - Error - Dropping packet from " << packet << ": PIM is not on there");
    tellRefused(Refusal::pimOff, packet);
    return;
  }
  const Packet::Codec::Result result = codec_.decode(packet.payload, packet.source, packet.destination);
  const bool isHello = result.message && result.message->type() == Packet::MessageType::hello;
  const bool isWhole = result.message || result.error == Packet::DecodeError::type;
  if (isWhole && !isHello && helloSide_ && pimIntf->isCrowded()) {
    helloSide_->spokeOtherwise(packet.intfId, packet.source);
  }
  if (!result.message) return dropMalformed(packet, result.error);
  MessageConsumer *const consumer = consumer_[static_cast<size_t>(result.message->type())];
  if (!consumer) {
    ++counters_.noConsumer;
    TRACELET(trace, 5, "RX - Nobody takes the message from " << packet);
    return;
  }
  if (!accept(packet, *result.message)) return;
  ++counters_.received;
  ++messageCounters_->ofType(result.message->type()).received;
  consumer->messageIs(packet.intfId, result.message);
}

void PacketPort::receiveTooLong(const Incoming &packet) {
  ++counters_.tooLong;
  TRACELET(trace, 1, "RX - Error - Dropping packet from " << packet << ": longer than the receive limit");
  tellRefused(Refusal::tooLong, packet);
}

void PacketPort::tellRefused(Refusal reason, const Incoming &packet) const {
  tellRefused({.reason = reason, .intfId = packet.intfId, .source = packet.source});
}

void PacketPort::tellRefused(Refusal reason, const Incoming &packet, const Packet::BootstrapMessage &message) const {
  tellRefused({.reason = reason,
               .intfId = packet.intfId,
               .source = packet.source,
               .bsr = message.bsrAddress(),
               .isBootstrap = true,
               .fragmentTag = message.fragmentTag()});
}

void PacketPort::dropMalformed(const Incoming &packet, Packet::DecodeError error) {
  if (error == Packet::DecodeError::type) {
    // The everyday messages of multicast routers; nothing is wrong with them.
    ++counters_.noConsumer;
    TRACELET(trace, 5, "RX - Nobody takes the message of type " << (packet.payload[0] & 0xf) << " from " << packet);
    return;
  }
  ++counters_.malformed;
  ++counters_.malformedBy[static_cast<size_t>(error)];
  TRACELET(trace, 1, "RX - Error - Dropping malformed packet from " << packet << ": " << toText(error));
  tellRefused(
      {.reason = Refusal::malformed, .intfId = packet.intfId, .source = packet.source, .detail = toText(error)});
}

bool PacketPort::accept(const Incoming &packet, const Packet::Message &message) {
  if (message.type() == Packet::MessageType::hello) return acceptHello(packet);
  if (message.type() != Packet::MessageType::bootstrap) return true;
  const auto &bootstrap = static_cast<const Packet::BootstrapMessage &>(message);
  return (bootstrap.forward() || acceptNoForward(packet, bootstrap)) && acceptContent(packet, bootstrap);
}

bool PacketPort::acceptContent(const Incoming &packet, const Packet::BootstrapMessage &message) {
  const BootstrapRefusal refusal = bootstrapAdmission_ ? bootstrapAdmission_->refusal(message) : BootstrapRefusal::none;
  switch (refusal) {
    case BootstrapRefusal::none: return true;
    case BootstrapRefusal::contradiction:
      ++counters_.contradictingFragments;
      TRACELET(trace, 1,
               "RX - Error - Dropping BSM from " << packet << ": it contradicts earlier fragments of tag "
                                                 << message.fragmentTag() << " of BSR " << message.bsrAddress());
      tellRefused(Refusal::contradiction, packet, message);
      return false;
    case BootstrapRefusal::memory:
      ++counters_.fragmentsOverLimit;
      TRACELET(trace, 5, "RX - Error - Dropping BSM from " << packet << ": too many incomplete groups are held");
      tellRefused(Refusal::openBytes, packet, message);
      return false;
  }
  return false;
}

bool PacketPort::acceptHello(const Incoming &packet) {
  const bool isNeighborly = family_ == Pax::AddressFamily::ipv4 || packet.source.isLinkLocal();
  if (isNeighborly && packet.destination == Pax::allPimRouters(family_)) return true;
  ++counters_.badHello;
  TRACELET(trace, 1, "RX - Error - Dropping Hello from " << packet << ": not from a neighbor to all");
  tellRefused(Refusal::badHello, packet);
  return false;
}

bool PacketPort::acceptNoForward(const Incoming &packet, const Packet::BootstrapMessage &message) {
  if (!pimIntf(packet.intfId)->neighbor(packet.source)) {
    ++counters_.noFwdNoHello;
    TRACELET(trace, 1, "RX - Error - Dropping no-forward BSM from " << packet << ": no Hello from there");
    tellRefused(Refusal::noHello, packet, message);
    return false;
  }
  if (routes_->lookup(message.bsrAddress()).kind == RouteAnswer::Kind::local) {
    ++counters_.noFwdOwnAddress;
    TRACELET(trace, 1,
             "RX - Error - Dropping no-forward BSM from " << packet << ": its BSR is our own " << message.bsrAddress());
    tellRefused(Refusal::ownBsr, packet, message);
    return false;
  }
  return true;
}

bool PacketPort::send(const Pax::IntfId &intfId, const Packet::Message &message) {
  if (message.type() == Packet::MessageType::bootstrap && helloSide_) helloSide_->helloFirst(intfId);
  const bool isSent = message.type() == Packet::MessageType::crpAdv
                          ? sendAdvertisement(intfId, static_cast<const Packet::CrpAdvMessage &>(message))
                          : sendToAll(intfId, message);
  ++(isSent ? counters_.sent : counters_.sendFailed);
  Flume::TypeCounters &ofType = messageCounters_->ofType(message.type());
  ++(isSent ? ofType.sent : ofType.sendFailed);
  if (!isSent) TRACELET(trace, 1, "TX - Error - Cannot send type " << int(message.type()) << " on " << intfId);
  return isSent;
}

bool PacketPort::sendToAll(const Pax::IntfId &intfId, const Packet::Message &message) {
  const PimIntf *const pimIntf = this->pimIntf(intfId);
  if (!pimIntf || pimIntf->address().af() != family_) return false;
  return encodeAndTransmit(intfId, message, pimIntf->address(), Pax::allPimRouters(family_));
}

bool PacketPort::sendAdvertisement(const Pax::IntfId &intfId, const Packet::CrpAdvMessage &message) {
  if (message.rpAddress().af() != family_ || message.destination().af() != family_) return false;
  const size_t counted = std::min<size_t>(message.prefixCount(), message.groupData()->groupInfo()->group.size());
  if (family_ == Pax::AddressFamily::ipv4 || counted <= groupsMost6) {
    return encodeAndTransmit(intfId, message, message.rpAddress(), message.destination());
  }
  bool isSent = true;
  for (size_t first = 0; first < counted; first += groupsMost6) {
    const auto piece = pieceOf(message, first, std::min(groupsMost6, counted - first));
    isSent = encodeAndTransmit(intfId, *piece, message.rpAddress(), message.destination()) && isSent;
  }
  return isSent;
}

bool PacketPort::encodeAndTransmit(const Pax::IntfId &intfId, const Packet::Message &message,
                                   const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination) {
  static std::vector<uint8_t> bytes;  // of all ports: gone when it has been sent, and better in the cache than many
  codec_.encode(message, source, destination, bytes);
  return transmit({intfId, source, destination, bytes});
}

}  // namespace Routing::Pim::IO
