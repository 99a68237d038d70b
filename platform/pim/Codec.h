/// The wire form of PIM messages (RFC 5059 section 4, RFC 7761 section 4.9): bytes to records and back.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/pim/DecodedBlocks.h"
#include "platform/pim/Packet.h"

namespace Routing::Pim::Packet {

/// Why bytes are not a message. Each drops the whole packet: nothing of a malformed message reaches the agent.
enum class DecodeError : uint8_t {
  none,
  truncated,  ///< shorter than its fields, or a block's list is cut short
  version,    ///< not PIM version 2
  checksum,
  type,          ///< a message type that is not read here, such as Join/Prune; nothing is wrong with it
  family,        ///< an unknown address family, or not that of the packet
  encoding,      ///< an encoding other than 0
  maskLength,    ///< longer than the address
  group,         ///< outside 224.0.0.0/4 or ff00::/8
  unicast,       ///< unspecified, multicast or broadcast where a unicast address belongs
  loopback,      ///< a loopback address where that of another router belongs
  linkLocal,     ///< a link-local BSR or RP address
  counts,        ///< a fragment RP count above the RP count
  partialTwice,  ///< two partial blocks of one prefix
  source,        ///< sent from an address that no router can have: unspecified, multicast, broadcast or loopback
};
inline constexpr size_t decodeErrors = 15;  ///< `none` included
/// "truncated", "mask length" and so on; traces and counters name the errors so.
const char *toText(DecodeError error);

class Cursor;

/// Decodes and encodes the messages of one address family. Owned by a packet port. It knows nothing of interfaces
/// and neighbors, and judges no more than the form of a message.
///
/// Decoded Bootstrap messages come from a pool: one that nobody holds any longer is filled anew, with all its
/// blocks and lists, so in steady state decoding allocates nothing. A message that somebody still holds is never
/// changed, nor is a block or list of it. Looking for one takes a fixed time: those that are kept are let go in
/// the order in which they came, so the next in turn is likely to be free.
class Codec {
 public:
  explicit Codec(Pax::AddressFamily family) : family_(family) {}
  /// Other codecs of the family share what it decodes, and it what they do. Null, as at first, for none.
  void decodedBlocksAre(DecodedBlocks *blocks) { decodedBlocks_ = blocks; }

  struct Result {
    Kiv::Ptr<Message> message;  ///< null when there is an error
    DecodeError error = DecodeError::none;
  };
  /// `payload` begins with the PIM header. The addresses are those of the packet: for IPv6 the checksum covers
  /// them, and they are written into the record. Never throws, whatever the bytes are.
  Result decode(std::span<const uint8_t> payload, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination);

  /// Replaces `bytes` by the wire form of the message, checksum included. The addresses are those of the packet
  /// that will carry it; those in the record are ignored.
  void encode(const Message &message, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination,
              std::vector<uint8_t> &bytes) const;

 private:
  /// The size of the pool: the fragments that list 50,000 RPs. Messages beyond it are not reused.
  static constexpr size_t poolMost = 1024;
  /// How many messages of the pool are looked at for a free one.
  static constexpr size_t triesMost = 8;

  /// A message that nobody else holds: one of the pool, or a new one.
  Kiv::Ptr<BootstrapMessage> recycled();
  DecodeError readBootstrap(Cursor &in, bool forward, BootstrapMessage &message);
  DecodeError readBlocks(Cursor &in, BootstrapMessage &message);
  DecodeError readBlock(Cursor &in, BootstrapGroupData &block);

  const Pax::AddressFamily family_;
  DecodedBlocks *decodedBlocks_ = nullptr;
  std::vector<Kiv::Ptr<BootstrapMessage>> pool_;
  size_t lastTaken_ = 0;                   // place in the pool; the next is the likeliest to be free
  std::vector<Pax::IpGenPrefix> partial_;  // prefixes of the partial blocks of one message
};

}  // namespace Routing::Pim::Packet
