/// The wire form of the PIM messages (RFC 5059 section 4, RFC 7761 section 4.9).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/pim/Packet.h"

namespace Routing::Pim::Packet {

/// Why bytes are no message. The name of each is given by toText().
enum class DecodeError : uint8_t {
  none,
  truncated,  ///< shorter than its fields, or a block's list is cut short
  version,    ///< not PIM version 2
  checksum,
  type,          ///< a type that this agent does not read
  family,        ///< an unknown family, or another than the packet's
  encoding,      ///< an encoding other than 0
  maskLength,    ///< longer than the address
  group,         ///< outside 224.0.0.0/4 or ff00::/8
  unicast,       ///< unspecified or multicast where a unicast address belongs
  linkLocal,     ///< a link-local BSR or RP address
  counts,        ///< a fragment RP count above the RP count
  partialTwice,  ///< two partial blocks of one prefix
};
inline constexpr size_t decodeErrors = 13;
const char *toText(DecodeError error);

/// Decodes and encodes the messages of one family. Decoded Bootstrap messages come from a small
/// pool: one that nobody holds any more is filled anew, with all its blocks and lists, so that in
/// steady state decoding allocates nothing.
class Codec {
 public:
  explicit Codec(Pax::AddressFamily family) : family_(family) {}

  struct Result {
    Kiv::Ptr<Message> message;  ///< null when there is an error
    DecodeError error = DecodeError::none;
  };
  /// `payload` begins with the PIM header. For IPv6 the checksum covers the pseudo-header of the
  /// two addresses, which are also written into the record.
  Result decode(std::span<const uint8_t> payload, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination);

  /// Replaces `bytes` by the message, checksum included. The addresses are the packet's.
  void encode(const Message &message, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination,
              std::vector<uint8_t> &bytes) const;

 private:
  class Cursor;
  /// More messages than these, all held at once, are not kept for filling anew.
  static constexpr size_t poolMost = 64;

  Kiv::Ptr<BootstrapMessage> recycled();
  DecodeError readBootstrap(Cursor &in, bool forward, BootstrapMessage &message);
  DecodeError readBlock(Cursor &in, BootstrapGroupData &block);

  const Pax::AddressFamily family_;
  std::vector<Kiv::Ptr<BootstrapMessage>> pool_;
  size_t lastTaken_ = 0;                   // where in the pool; the next is the likeliest to be free
  std::vector<Pax::IpGenPrefix> partial_;  // prefixes of the partial blocks of one message
};

}  // namespace Routing::Pim::Packet
