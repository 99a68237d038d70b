#include "lab/HostileNeighbor.h"

#include <net/if.h>

#include <cstring>

#include "platform/pim/Wire.h"

namespace Lab {

namespace Packet = Routing::Pim::Packet;
namespace Wire = Packet::Wire;

HostileNeighbor::HostileNeighbor(const Parameters &parameters)
    : parameters_(parameters),
      all_(Pax::allPimRouters(parameters.address.af())),
      ifIndex_(if_nametoindex(parameters.interface.c_str())),
      socket_(Linux::Namespace(""), parameters.address.af()),
      codec_(parameters.address.af()) {
  if (ifIndex_ == 0) throw Linux::systemError(parameters.interface);
  socket_.transparentIs(true);
}

void HostileNeighbor::sayHello() {
  Packet::HelloMessage hello;
  hello.generationIdIs(1);
  if (parameters_.bsr != parameters_.address) hello.addressList = {parameters_.bsr};
  send(hello);
}

void HostileNeighbor::send(const Packet::Message &message) {
  const Pax::IpGenAddr source = message.source().isZero() ? parameters_.address : message.source();
  codec_.encode(message, source, all_, bytes_);
  depart({ifIndex_, source, all_, bytes_});
}

void HostileNeighbor::sendToTarget(const Packet::Message &message) {
  codec_.encode(message, parameters_.bsr, parameters_.target, bytes_);
  depart({0, parameters_.bsr, parameters_.target, bytes_});
}

void HostileNeighbor::sendBytes(std::span<const uint8_t> bytes) {
  depart({ifIndex_, parameters_.address, all_, bytes});
}

const std::vector<uint8_t> &HostileNeighbor::encoded(const Packet::Message &message) {
  codec_.encode(message, parameters_.address, all_, bytes_);
  return bytes_;
}

void HostileNeighbor::sign(std::span<uint8_t> bytes) const {
  if (bytes.size() < Wire::headerSize) return;
  uint8_t *const field = bytes.data() + Wire::checksumOffset;
  std::memset(field, 0, 2);
  const auto sum = static_cast<uint16_t>(~Wire::checksumOf(bytes, parameters_.address, all_));
  std::memcpy(field, &sum, sizeof sum);
}

void HostileNeighbor::depart(const Linux::RawSocket::Departure &departure) {
  ++(socket_.send(departure) ? failed_ : sent_);
}

}  // namespace Lab
