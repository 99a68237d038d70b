#include "platform/pim/Wire.h"

#include <algorithm>
#include <cstring>

namespace Routing::Pim::Packet::Wire {

uint16_t checksumOf(std::span<const uint8_t> message, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination) {
  uint64_t sum = 0;
  const auto add = [&sum](std::span<const uint8_t> bytes) {
    size_t at = 0;
    for (; at + 4 <= bytes.size(); at += 4) {
      uint32_t word;
      std::memcpy(&word, bytes.data() + at, 4);
      sum += word;
    }
    uint8_t rest[4] = {};
    std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end(), rest);
    uint32_t word;
    std::memcpy(&word, rest, 4);
    sum += word;
  };
  if (source.af() == Pax::AddressFamily::ipv6) {
    add(source.bytes());
    add(destination.bytes());
    const size_t size = message.size();
    const uint8_t lengthAndProtocol[8] = {static_cast<uint8_t>(size >> 24),
                                          static_cast<uint8_t>(size >> 16),
                                          static_cast<uint8_t>(size >> 8),
                                          static_cast<uint8_t>(size),
                                          0,
                                          0,
                                          0,
                                          protocol};
    add(lengthAndProtocol);
  }
  add(message);
  while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
  return static_cast<uint16_t>(sum);
}

}  // namespace Routing::Pim::Packet::Wire
