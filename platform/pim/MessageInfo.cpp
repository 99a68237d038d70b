#include "platform/pim/MessageInfo.h"

namespace Routing::Pim::IO {

void MessageInfo::messageIs(const Pax::IntfId &intfId, const Kiv::Ptr<Packet::Message> &message) {
  const Kiv::Ptr<ReceivedMessage> rx = rx_;  // a reactor may destroy this channel
  rx->intfIdIs(intfId);
  rx->sourceIs(message->source());
  rx->destinationIs(message->destination());
  rx->messageIs(message);
  rx->countInc();
}

PamManager::PamManager(const Kiv::Ptr<PacketPort> &port, const Parameters &parameters) : port_(port) {
  port_->receiveBufferIs(parameters.receiveBuffer);
  port_->maxPacketIs(parameters.maxPacket);
  port_->transparentIs(parameters.transparent);
}

PamManager::~PamManager() {
  for (const auto &[type, info] : registered_) port_->consumerIs(type, nullptr);
}

Kiv::Ptr<MessageInfo> PamManager::messageInfoIs(Packet::MessageType type) {
  for (const auto &[present, info] : registered_) {
    if (present == type) return info;
  }
  const Kiv::Ptr<MessageInfo> info = Kiv::make<MessageInfo>(port_);
  registered_.emplace_back(type, info);
  port_->consumerIs(type, info.get());
  return info;
}

}  // namespace Routing::Pim::IO
