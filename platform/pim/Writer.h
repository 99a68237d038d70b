/// Writing PIM messages; reading them is Codec's own matter. For the codec only.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/pim/Packet.h"

namespace Routing::Pim::Packet {

/// Replaces `bytes` by the wire form of the message, PIM header included, with a checksum of zero. Addresses in
/// the message must be of the family. Of a block's RPs only those that its fragment RP count announces are
/// written, and no more is announced than the list has.
void write(const Message &message, Pax::AddressFamily family, std::vector<uint8_t> &bytes);

}  // namespace Routing::Pim::Packet
