/// The agent's end of the packet channel: one MessageInfo per message type.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/pax/IntfId.h"
#include "platform/pim/Packet.h"
#include "platform/pim/PacketPort.h"

namespace Routing::Pim::IO {

/// What arrived last. All fields are written before `message` changes and `count` grows.
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

/// What is to be sent: interface and message first (an empty interface for a routed unicast
/// message), then countInc(), which sends. The count advances only when the packet was handed over.
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

/// Two halves, so that sending never looks like receiving.
class MessageInfo : public Kiv::Counted, public MessageConsumer {
 public:
  explicit MessageInfo(const Kiv::Ptr<PacketPort> &port);
  const Kiv::Ptr<ReceivedMessage> &rx() const { return rx_; }
  TransmitMessage &tx() { return tx_; }

  void messageIs(const Pax::IntfId &intfId, const Kiv::Ptr<Packet::Message> &message) override;

 private:
  const Kiv::Ptr<ReceivedMessage> rx_;
  TransmitMessage tx_;
};

/// Sets every message counter of the table to zero.
inline void messageCountersClear(Flume::MessageCounters &counters) { counters.packets = {}; }

/// The packet channel of a VRF: a MessageInfo per registered message type. Delivers from its
/// registration on until its own end.
class PamManager : public Kiv::Counted {
 public:
  struct Parameters {
    uint32_t receiveBuffer = 307200;  ///< bytes
    uint32_t maxPacket = 2100;        ///< bytes of a received packet that are looked at
    bool transparent = true;          ///< may send from addresses that are not the interface's
  };
  PamManager(const Kiv::Ptr<PacketPort> &port, const Parameters &parameters);
  ~PamManager() override;

  const Kiv::Ptr<PacketPort> &port() const { return port_; }
  /// Registers the type; once each.
  Kiv::Ptr<MessageInfo> messageInfoIs(Packet::MessageType type);

 private:
  const Kiv::Ptr<PacketPort> port_;
  std::vector<std::pair<Packet::MessageType, Kiv::Ptr<MessageInfo>>> registered_;
};

}  // namespace Routing::Pim::IO
