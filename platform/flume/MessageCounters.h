/// The message-counter table of one VRF ("bsr"): what its packet channel received, dropped and sent. Counters
/// only grow, and wrap at 32 bits; an operator's `clear counters` sets them to zero.
#pragma once

#include <array>
#include <cstdint>

#include "platform/kiv/Attributes.h"
#include "platform/pim/Codec.h"

namespace Routing::Pim::Flume {

/// A packet that arrives counts in exactly one of the fields: in `received` when a consumer got it, otherwise in
/// the one that says why none did. Plain numbers, since nobody reacts to them.
struct PacketCounters {
  uint32_t received = 0;
  uint32_t sent = 0;  ///< messages; one that leaves in several packets counts once
  uint32_t sendFailed = 0;
  uint32_t malformed = 0;  ///< the codec's reasons are in malformedBy
  uint32_t wrongFamily = 0;
  uint32_t pimOff = 0;           ///< PIM is not on at the arrival interface
  uint32_t noConsumer = 0;       ///< nobody takes the type: it is not read here (Join/Prune, ...) or has no consumer
  uint32_t noFwdNoHello = 0;     ///< no-forward Bootstrap message from a source without Hello state
  uint32_t noFwdOwnAddress = 0;  ///< no-forward Bootstrap message that names us as BSR
  uint32_t badHello = 0;         ///< not to ALL-PIM-ROUTERS, or in IPv6 not from a link-local address
  uint32_t contradictingFragments = 0;  ///< Bootstrap message at odds with the fragments before it
  uint32_t fragmentsOverLimit = 0;      ///< Bootstrap message whose incomplete groups would take too much memory
  uint32_t tooLong = 0;                 ///< longer than what the agent receives
  uint32_t neighborsOverLimit = 0;      ///< Hello of a new neighbor that was refused, or took another one's place
  /// The one number that counts no arrivals here: packets that the kernel dropped because nobody read them in time.
  uint32_t kernelDropped = 0;
  std::array<uint32_t, Packet::decodeErrors> malformedBy{};
};

/// The messages of one type among those.
struct TypeCounters {
  uint32_t received = 0;
  uint32_t sent = 0;
  uint32_t sendFailed = 0;
};

/// Written by the packet channel, read by whatever shows it. Nobody is notified.
class MessageCounters : public Kiv::Entity {
  KIV_ENTITY(MessageCounters, KIV_NO_ATTRIBUTES)
 public:
  void clear() { packets = {}, type = {}; }
  TypeCounters &ofType(Packet::MessageType number) { return type[static_cast<size_t>(number)]; }
  const TypeCounters &ofType(Packet::MessageType number) const { return type[static_cast<size_t>(number)]; }

  PacketCounters packets;
  std::array<TypeCounters, 16> type{};  ///< by its number
};

}  // namespace Routing::Pim::Flume
