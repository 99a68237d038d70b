/// Messages as text and as bytes, for comparing them.
#pragma once

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "platform/pim/Codec.h"

namespace Test {

/// Every field of the message.
inline std::string textOf(const Routing::Pim::Packet::Message &message) {
  using namespace Routing::Pim::Packet;
  std::ostringstream out;
  if (message.type() == MessageType::bootstrap) {
    out << static_cast<const BootstrapMessage &>(message);
  } else if (message.type() == MessageType::hello) {
    const auto &hello = static_cast<const HelloMessage &>(message);
    out << "Hello from " << message.source() << " holdTime " << hello.holdTime();
    if (hello.drPriority()) out << " drPriority " << *hello.drPriority();
    if (hello.generationId()) out << " generationId " << *hello.generationId();
    for (const Pax::IpGenAddr &address : hello.addressList) out << ' ' << address;
  } else {
    const auto &advertisement = static_cast<const CrpAdvMessage &>(message);
    out << "C-RP from " << message.source() << " count " << unsigned{advertisement.prefixCount()} << " priority "
        << advertisement.priority() << " holdTime " << advertisement.holdTime() << " RP " << advertisement.rpAddress();
    for (const CrpGroup &group : advertisement.groupData()->groupInfo()->group) {
      out << ' ' << group.prefix << (group.adminScope ? " scoped" : "") << (group.bidir ? " bidir" : "");
    }
  }
  return out.str();
}

inline std::string hexOf(const std::vector<uint8_t> &bytes) {
  std::ostringstream out;
  for (const uint8_t byte : bytes) out << std::hex << std::setw(2) << std::setfill('0') << unsigned{byte};
  return out.str();
}

/// From hexadecimal digits; blanks are skipped.
inline std::vector<uint8_t> bytesOf(const std::string &text) {
  std::vector<uint8_t> bytes;
  std::string digits;
  for (const char digit : text) {
    if (digit != ' ') digits += digit;
    if (digits.size() < 2) continue;
    bytes.push_back(static_cast<uint8_t>(std::stoul(digits, nullptr, 16)));
    digits.clear();
  }
  return bytes;
}

/// Sets the checksum field, computed the slow way (RFC 1071), with the pseudo-header for IPv6.
inline void seal(std::vector<uint8_t> &bytes, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination) {
  if (bytes.size() < 4) return;
  bytes[2] = bytes[3] = 0;
  std::vector<uint8_t> all;
  if (source.af() == Pax::AddressFamily::ipv6) {
    for (const auto &address : {source.bytes(), destination.bytes()}) {
      all.insert(all.end(), address.begin(), address.end());
    }
    const auto size = static_cast<uint32_t>(bytes.size());
    for (const uint32_t word : {size, uint32_t{103}}) {
      for (int shift = 24; shift >= 0; shift -= 8) all.push_back(static_cast<uint8_t>(word >> shift));
    }
  }
  all.insert(all.end(), bytes.begin(), bytes.end());
  if (all.size() % 2) all.push_back(0);
  uint32_t sum = 0;
  for (size_t i = 0; i < all.size(); i += 2) {
    sum += static_cast<uint32_t>(all[i] << 8 | all[i + 1]);
    sum = (sum & 0xffff) + (sum >> 16);
  }
  bytes[2] = static_cast<uint8_t>(~sum >> 8);
  bytes[3] = static_cast<uint8_t>(~sum);
}

}  // namespace Test
