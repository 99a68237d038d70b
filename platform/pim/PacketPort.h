/// The road of PIM packets of one VRF: bytes below, records above.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "platform/pax/IntfId.h"
#include "platform/pim/Codec.h"
#include "platform/pim/Packet.h"
#include "platform/pim/PimStatus.h"
#include "platform/routing/RouteLookup.h"

namespace Routing::Pim::IO {

/// Packets that were dropped before they reached any consumer, by reason, and those handed on.
struct PacketCounters {
  uint32_t received = 0;
  uint32_t sent = 0;
  uint32_t sendFailed = 0;
  uint32_t malformed = 0;  ///< the codec's reasons are in malformedBy
  uint32_t wrongFamily = 0;
  uint32_t pimOff = 0;           ///< PIM is not on at the arrival interface
  uint32_t noConsumer = 0;       ///< a type that nobody takes: not read here (Join/Prune, ...), or no consumer
  uint32_t noFwdNoHello = 0;     ///< no-forward Bootstrap message from a source without Hello state
  uint32_t noFwdOwnAddress = 0;  ///< no-forward Bootstrap message that names us as BSR
  uint32_t badHello = 0;         ///< not to ALL-PIM-ROUTERS, or from an address that is no neighbour's
  std::array<uint32_t, Packet::decodeErrors> malformedBy{};
};

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
  const PacketCounters &counters() const { return counters_; }
  void countersClear() { counters_ = {}; }

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
  PacketCounters counters_;
  std::vector<uint8_t> buffer_;
};

}  // namespace Routing::Pim::IO
