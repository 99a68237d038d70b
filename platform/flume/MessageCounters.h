/// The message-counter table of one VRF: what its packet channel received, dropped and sent.
#pragma once

#include <array>
#include <cstdint>

#include "platform/kiv/Attributes.h"
#include "platform/pim/Codec.h"

namespace Routing::Pim::Flume {

/// Packets that were dropped before they reached any consumer, by reason, and those handed on.
struct PacketCounters {
  uint32_t received = 0;
  uint32_t sent = 0;
  uint32_t sendFailed = 0;
  uint32_t malformed = 0;  ///< the codec's reasons are in malformedBy
  uint32_t wrongFamily = 0;
  uint32_t pimOff = 0;           ///< PIM is not on at the arrival interface
  uint32_t noConsumer = 0;       ///< a type that nobody takes: not read here (Join/Prune, ...), or no consumer
  uint32_t noFwdNoHello = 0;     ///< no-forward Bootstrap message from a source without Hello state
  uint32_t noFwdOwnAddress = 0;  ///< no-forward Bootstrap message that names us as BSR
  uint32_t badHello = 0;         ///< not to ALL-PIM-ROUTERS, or from an address that is no neighbour's
  std::array<uint32_t, Packet::decodeErrors> malformedBy{};
};

/// Written by the packet channel, read by whoever shows it.
class MessageCounters : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)
  KIV_ENTITY(MessageCounters, ATTRIBUTES)
#undef ATTRIBUTES
 public:
  PacketCounters packets;
};

}  // namespace Routing::Pim::Flume
