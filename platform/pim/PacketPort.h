/// The road of PIM packets of one VRF: bytes below, records above.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "platform/flume/MessageCounters.h"
#include "platform/pax/IntfId.h"
#include "platform/pim/Codec.h"
#include "platform/pim/Packet.h"
#include "platform/pim/PimStatus.h"
#include "platform/routing/RouteLookup.h"

namespace Routing::Pim::IO {

/// A packet that arrived; the payload begins with the PIM header.
struct Incoming {
  Pax::IntfId intfId;
  Pax::IpGenAddr source;
  Pax::IpGenAddr destination;
  std::span<const uint8_t> payload;
};

/// A packet to send. With an interface: out of it, TTL 1. Without: routed, default TTL.
struct Outgoing {
  Pax::IntfId intfId;
  Pax::IpGenAddr source;
  Pax::IpGenAddr destination;
  std::span<const uint8_t> payload;
};

/// Takes the messages of one type. A message arrived on an interface where PIM is on.
class MessageConsumer {
 public:
  virtual ~MessageConsumer() = default;
  virtual void messageIs(const Pax::IntfId &intfId, const Kiv::Ptr<Packet::Message> &message) = 0;
};

/// Told before a Bootstrap message leaves an interface: neighbours refuse messages from strangers,
/// so a Hello has to go out first if none has.
class BeforeBootstrap {
 public:
  virtual ~BeforeBootstrap() = default;
  virtual void helloFirst(const Pax::IntfId &intfId) = 0;
};

/// One per VRF and family. The backend derives from it, gives it what arrives with receive(), and
/// implements transmit(). Everything between is shared by the backends: decoding, the drops before
/// any consumer (each counted and traced at level 1), encoding. Transmission never re-enters
/// reception: what a backend delivers, it delivers from a later turn of the loop.
class PacketPort : public Kiv::Counted {
 public:
  /// `status` tells where PIM is on and who is a neighbour; `routes` which addresses are ours.
  PacketPort(Pax::AddressFamily family, const Kiv::Ptr<const Status> &status, const Kiv::Ptr<RouteLookup> &routes);

  Pax::AddressFamily af() const { return family_; }
  const Kiv::Ptr<Flume::MessageCounters> &messageCounters() const { return messageCounters_; }
  const Flume::PacketCounters &counters() const { return messageCounters_->packets; }

  /// At most one consumer a type; null ends it.
  void consumerIs(Packet::MessageType type, MessageConsumer *consumer);
  void beforeBootstrapIs(BeforeBootstrap *hook) { beforeBootstrap_ = hook; }

  /// Encodes and sends. A Bootstrap message and a Hello go to ALL-PIM-ROUTERS from the interface's
  /// own PIM address, whatever the record says; an advertisement goes from the RP address to the
  /// record's destination, in pieces where it would be too long for its receiver. False when the packet was not handed
  /// to the network; nothing throws.
  bool send(const Pax::IntfId &intfId, const Packet::Message &message);

  /// Hints for the backend's socket; the simulator ignores the first and the last.
  virtual void receiveBufferIs(uint32_t) {}
  virtual void maxPacketIs(uint32_t) {}
  virtual void transparentIs(bool) {}

 protected:
  virtual bool transmit(const Outgoing &packet) = 0;
  void receive(const Incoming &packet);

 private:
  void malformed(const Incoming &packet, Packet::DecodeError error);
  bool acceptable(const Incoming &packet, const Packet::Message &message);
  bool acceptableHello(const Incoming &packet);
  bool acceptableNoForward(const Incoming &packet, const Packet::BootstrapMessage &message);
  bool sendToAll(const Pax::IntfId &intfId, const Packet::Message &message);
  bool sendAdvertisement(const Pax::IntfId &intfId, const Packet::CrpAdvMessage &message);
  bool encodeAndTransmit(const Pax::IntfId &intfId, const Packet::Message &message, const Pax::IpGenAddr &source,
                         const Pax::IpGenAddr &destination);

  const Pax::AddressFamily family_;
  const Kiv::Ptr<const Status> status_;
  const Kiv::Ptr<RouteLookup> routes_;
  Packet::Codec codec_;
  std::array<MessageConsumer *, 16> consumer_{};
  BeforeBootstrap *beforeBootstrap_ = nullptr;
  const Kiv::Ptr<Flume::MessageCounters> messageCounters_;
  Flume::PacketCounters &counters_;
  std::vector<uint8_t> buffer_;
};

}  // namespace Routing::Pim::IO
