/// The agent's end of the packet channel: one MessageInfo for each message type.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/pax/IntfId.h"
#include "platform/pim/Packet.h"
#include "platform/pim/PacketPort.h"

namespace Routing::Pim::IO {

/// What arrived last. Written by MessageInfo alone, in the order of the attributes: a reactor to `count`, which
/// grows by one with each message, finds all the others filled.
class ReceivedMessage : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                    \
  ATTRIBUTE(value, Pax::IntfId, intfId, IntfId, {})              \
  ATTRIBUTE(value, Pax::IpGenAddr, source, Source, {})           \
  ATTRIBUTE(value, Pax::IpGenAddr, destination, Destination, {}) \
  ATTRIBUTE(pointer, Packet::Message, message, Message)          \
  ATTRIBUTE(counter, count, Count)
  KIV_ENTITY(ReceivedMessage, ATTRIBUTES)
#undef ATTRIBUTES
};

/// What is to be sent. The sender sets the interface (the empty one for a routed unicast message) and the message,
/// then calls countInc(), which sends. The count grows only if the packet was handed to the network.
class TransmitMessage {
 public:
  explicit TransmitMessage(const Kiv::Ptr<PacketPort> &port) : port_(port) {}
  KIV_FIELD(Pax::IntfId, intfId, {})
  KIV_FIELD(Kiv::Ptr<Packet::Message>, message, nullptr)
  uint32_t count() const { return count_; }
  void countInc(uint32_t by = 1) {
    if (message_ && port_->send(intfId_, *message_)) count_ += by;
  }

 private:
  const Kiv::Ptr<PacketPort> port_;
  uint32_t count_ = 0;
};

/// The messages of one type, in two halves, so that sending is never mistaken for receiving.
class MessageInfo : public Kiv::Counted, public MessageConsumer {
 public:
  explicit MessageInfo(const Kiv::Ptr<PacketPort> &port) : port_(port), rx_(Kiv::make<ReceivedMessage>()), tx_(port) {}
  const Kiv::Ptr<ReceivedMessage> &rx() const { return rx_; }
  TransmitMessage &tx() { return tx_; }
  /// The consumer has refused a message.
  void tellRefused(const Refused &refused) const { port_->tellRefused(refused); }

  void messageIs(const Pax::IntfId &intfId, const Kiv::Ptr<Packet::Message> &message) override;

 private:
  const Kiv::Ptr<PacketPort> port_;
  const Kiv::Ptr<ReceivedMessage> rx_;
  TransmitMessage tx_;
};

/// Sets every packet counter of the VRF to zero.
inline void messageCountersClear(Flume::MessageCounters &counters) { counters.clear(); }

/// The packet channel of a VRF, owned by its machines: a MessageInfo for each message type that was registered.
/// Messages come in from the registration until the channel goes; the port lives on.
class PamManager : public Kiv::Counted {
 public:
  struct Parameters {
    uint32_t receiveBuffer = 307200;  ///< bytes
    uint32_t maxPacket = 2100;        ///< bytes; longer packets are cut off when they are received
    bool transparent = true;          ///< may send from addresses that are not the interface's
  };
  PamManager(const Kiv::Ptr<PacketPort> &port, const Parameters &parameters);
  ~PamManager() override;

  /// Registers the type, or finds it.
  Kiv::Ptr<MessageInfo> messageInfoIs(Packet::MessageType type);

 private:
  const Kiv::Ptr<PacketPort> port_;
  std::vector<std::pair<Packet::MessageType, Kiv::Ptr<MessageInfo>>> registered_;
};

}  // namespace Routing::Pim::IO
