/// Numbers and helpers that reading and writing PIM messages share (RFC 7761 section 4.9, RFC 5059 section 4). For
/// the codec only; what it yields are the records of platform/pim/Packet.h.
#pragma once

#include <cstdint>
#include <span>

#include "platform/pax/IpGenAddr.h"

namespace Routing::Pim::Packet::Wire {

inline constexpr uint8_t version = 2;
inline constexpr size_t headerSize = 4;
inline constexpr size_t checksumOffset = 2;
inline constexpr uint8_t protocol = 103;
inline constexpr uint8_t noForward = 0x80;  ///< in the flags of a Bootstrap message
inline constexpr uint8_t bidirBit = 0x80;   ///< in the flags of an encoded group
inline constexpr uint8_t adminScopeBit = 0x01;

/// Hello options (RFC 7761 section 4.9.2).
enum HelloOption : uint16_t { holdTime = 1, drPriority = 19, generationId = 20, addressList = 24 };

constexpr size_t addressSize(Pax::AddressFamily family) { return family == Pax::AddressFamily::ipv4 ? 4 : 16; }
/// An encoded unicast address: family, encoding, address.
constexpr size_t unicastSize(Pax::AddressFamily family) { return 2 + addressSize(family); }
/// An encoded group: family, encoding, flags, mask length, address.
constexpr size_t groupSize(Pax::AddressFamily family) { return 4 + addressSize(family); }
/// An RP of a group block: address, hold time, priority, reserved.
constexpr size_t rpSize(Pax::AddressFamily family) { return unicastSize(family) + 4; }

/// Numbers in network order, at any alignment.
inline uint16_t load16(const uint8_t *at) { return static_cast<uint16_t>(at[0] << 8 | at[1]); }
inline uint32_t load32(const uint8_t *at) { return uint32_t{load16(at)} << 16 | load16(at + 2); }
inline uint64_t load64(const uint8_t *at) { return uint64_t{load32(at)} << 32 | load32(at + 4); }

/// The one's complement sum of the message and, for IPv6, of its pseudo-header (RFC 7761 section 4.9), in the
/// byte order of the machine: its complement, copied byte by byte, is the checksum field. Over a message whose
/// field is right it is 0xffff.
uint16_t checksumOf(std::span<const uint8_t> message, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination);

}  // namespace Routing::Pim::Packet::Wire
