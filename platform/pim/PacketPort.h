/// The way of the PIM packets of one VRF: bytes below, records above.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/flume/MessageCounters.h"
#include "platform/orb/Footprint.h"
#include "platform/pax/IntfId.h"
#include "platform/pim/BootstrapAdmission.h"
#include "platform/pim/Codec.h"
#include "platform/pim/Packet.h"
#include "platform/pim/PimStatus.h"
#include "platform/pim/Refusal.h"
#include "platform/routing/RouteLookup.h"

namespace Routing::Pim::IO {

/// A packet that arrived; the payload begins with the PIM header. It owns neither that nor the id.
struct Incoming {
  const Pax::IntfId &intfId;
  Pax::IpGenAddr source;
  Pax::IpGenAddr destination;
  std::span<const uint8_t> payload;
};

/// A packet to send: with an interface out of it and with TTL 1, without one routed and with the default TTL. The
/// payload is gone when transmit() returns.
using Outgoing = Incoming;

/// Takes the messages of one type.
class MessageConsumer {
 public:
  virtual ~MessageConsumer() = default;
  /// A message has arrived on `intfId`, where PIM is on. It is shared and must not be changed.
  virtual void messageIs(const Pax::IntfId &intfId, const Kiv::Ptr<Packet::Message> &message) = 0;
};

/// What whoever speaks Hello is told of other messages.
class HelloSide {
 public:
  virtual ~HelloSide() = default;
  /// A Bootstrap message is about to leave the interface. Neighbors refuse it from a router that has not said Hello,
  /// so a Hello goes out first if none has (RFC 5059 section 3.1.3). May send on the port, anything but a Bootstrap
  /// message.
  virtual void helloFirst(const Pax::IntfId &intfId) = 0;
  /// A PIM message that is no Hello has arrived, of any type, where PimIntf::isCrowded().
  virtual void spokeOtherwise(const Pax::IntfId &intfId, const Pax::IpGenAddr &source) = 0;
};

/// One per VRF and family, owned by the platform; it lives as long as PIM runs in the VRF, whether an agent does or
/// not. A backend derives from it, calls receive() for what arrives and implements transmit(). What lies between
/// is the same for all backends: decoding, encoding, and the drops before any consumer, each of which is counted
/// and traced.
///
/// Sending never leads to receiving: what a backend delivers, it delivers in a later turn of the loop.
class PacketPort : public Kiv::Counted {
 public:
  /// `status` says where PIM is on and who is a neighbor, `routes` which addresses are ours.
  PacketPort(Pax::AddressFamily family, const Kiv::Ptr<const Status> &status, const Kiv::Ptr<RouteLookup> &routes);
  ~PacketPort() override;

  Pax::AddressFamily af() const { return family_; }
  const Kiv::Ptr<Flume::MessageCounters> &messageCounters() const { return messageCounters_; }
  const Flume::PacketCounters &counters() const { return messageCounters_->packets; }

  /// Each type has at most one consumer, which takes itself out (null) before it goes. Messages without one are
  /// counted and dropped.
  void consumerIs(Packet::MessageType type, MessageConsumer *consumer);
  /// At most one, likewise.
  void helloSideIs(HelloSide *side) { helloSide_ = side; }
  /// At most one, likewise. Without one, no Bootstrap message is refused for its content.
  void bootstrapAdmissionIs(const BootstrapAdmission *admission) { bootstrapAdmission_ = admission; }

  /// At most one, likewise; without one, nobody is told.
  void refusalWatcherIs(RefusalWatcher *watcher) { refusalWatcher_ = watcher; }
  /// Tells it of a packet, which a consumer may have refused.
  void tellRefused(const Refused &refused) const {
    if (refusalWatcher_) refusalWatcher_->refused(refused);
  }

  /// Encodes and sends. A Bootstrap message or a Hello goes to ALL-PIM-ROUTERS from the PIM address of the
  /// interface, whatever the record says. An advertisement goes from the RP address to the destination in the
  /// record, in several packets if one would be too long for its receiver. False if anything of it could not be
  /// handed to the network. Never throws.
  bool send(const Pax::IntfId &intfId, const Packet::Message &message);

  /// The note of what packets that come and go on the interface look at, begun anew with what the port knows: whoever
  /// speaks Hello adds its own objects, and does it again when they are others. Null unless the backend fetches ahead.
  Orb::Footprint *footprint(const Pax::IntfId &intfId);

  /// What the agent wants of the socket (bytes, bytes, whether to send from addresses that are not the
  /// interface's). A backend without sockets ignores them.
  virtual void receiveBufferIs(uint32_t) {}
  virtual void maxPacketIs(uint32_t) {}
  virtual void transparentIs(bool) {}

 protected:
  /// For a backend of many routers: the note that it keeps for the interface, begun anew with what it looks at itself.
  virtual Orb::Footprint *emptyFootprint(const Pax::IntfId &) { return nullptr; }
  /// Hands the packet to the network. False if that failed.
  virtual bool transmit(const Outgoing &packet) = 0;
  /// For the backend: a packet has arrived. Whatever its bytes are, nothing throws.
  void receive(const Incoming &packet);
  /// For the backend: a packet has arrived that is longer than maxPacketIs() allows; its payload does not matter.
  void receiveTooLong(const Incoming &packet);
  /// For a backend of many routers: see DecodedBlocks, which outlives the port.
  void decodedBlocksAre(Packet::DecodedBlocks &blocks) { codec_.decodedBlocksAre(&blocks); }
  /// For the backend: so many packets were dropped before it could read them.
  void dropped(uint32_t packets) { counters_.kernelDropped += packets; }

 private:
  class StatusReactor;
  struct Found {
    Pax::IntfId intfId;
    Kiv::Ptr<const PimIntf> pimIntf;
  };
  /// Where PIM is on: null where it is not.
  const PimIntf *pimIntf(const Pax::IntfId &intfId);
  Found &foundFor(const Pax::IntfId &intfId) { return found_[std::hash<Pax::IntfId>()(intfId) % found_.size()]; }
  /// What is dropped is counted and traced here; these say whether the message goes on to its consumer.
  bool accept(const Incoming &packet, const Packet::Message &message);
  bool acceptHello(const Incoming &packet);
  bool acceptNoForward(const Incoming &packet, const Packet::BootstrapMessage &message);
  bool acceptContent(const Incoming &packet, const Packet::BootstrapMessage &message);
  void tellRefused(Refusal reason, const Incoming &packet) const;
  void tellRefused(Refusal reason, const Incoming &packet, const Packet::BootstrapMessage &message) const;
  void dropMalformed(const Incoming &packet, Packet::DecodeError error);
  bool sendToAll(const Pax::IntfId &intfId, const Packet::Message &message);
  bool sendAdvertisement(const Pax::IntfId &intfId, const Packet::CrpAdvMessage &message);
  bool encodeAndTransmit(const Pax::IntfId &intfId, const Packet::Message &message, const Pax::IpGenAddr &source,
                         const Pax::IpGenAddr &destination);

  // What each packet needs comes first.
  const Pax::AddressFamily family_;
  Packet::Codec codec_;
  HelloSide *helloSide_ = nullptr;
  const BootstrapAdmission *bootstrapAdmission_ = nullptr;
  RefusalWatcher *refusalWatcher_ = nullptr;
  const Kiv::Ptr<Flume::MessageCounters> messageCounters_;
  Flume::PacketCounters &counters_;
  std::array<MessageConsumer *, 16> consumer_{};
  std::array<Found, 8> found_;  // by the hash of the id
  const Kiv::Ptr<const Status> status_;
  const Kiv::Ptr<RouteLookup> routes_;
  std::unique_ptr<StatusReactor> reactor_;
};

}  // namespace Routing::Pim::IO
