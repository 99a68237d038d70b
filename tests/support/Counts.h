/// Every counter by its name, and by how much each has grown.
#pragma once

#include <array>
#include <bit>
#include <map>
#include <sstream>
#include <string>

#include "platform/flume/MessageCounters.h"
#include "tests/support/EntityLines.h"

namespace Test {

using Counts = std::map<std::string, int64_t>;

/// All numbers that the entity describes; those of a record, "a=1 b=2", each by its own name.
inline Counts countsOf(const Kiv::Entity &entity) {
  Counts counts;
  for (const auto &[name, value] : linesOf(entity)) {
    std::stringstream fields;
    if (value.find('=') == value.npos) fields << name << '=';
    fields << value;
    for (std::string field, number; std::getline(fields, field, '=') && fields >> number; fields >> std::ws) {
      counts[field] = std::stoll(number);
    }
  }
  return counts;
}

inline Counts countsOf(const Routing::Pim::Flume::PacketCounters &packets) {
  constexpr std::array names{"received",
                             "sent",
                             "sendFailed",
                             "malformed",
                             "wrongFamily",
                             "pimOff",
                             "noConsumer",
                             "noFwdNoHello",
                             "noFwdOwnAddress",
                             "badHello",
                             "contradictingFragments",
                             "fragmentsOverLimit",
                             "tooLong",
                             "neighborsOverLimit",
                             "kernelDropped"};
  using Routing::Pim::Packet::DecodeError;
  using Numbers = std::array<uint32_t, names.size() + Routing::Pim::Packet::decodeErrors>;
  Counts counts;
  size_t n = 0;
  for (const uint32_t number : std::bit_cast<Numbers>(packets)) {
    counts[n < names.size() ? names[n] : toText(static_cast<DecodeError>(n - names.size()))] = number;
    ++n;
  }
  return counts;
}

/// Those that differ, with the difference.
inline Counts grown(const Counts &before, const Counts &after) {
  Counts growth;
  for (const auto &[name, value] : after) {
    const auto old = before.find(name);
    if (const int64_t by = value - (old == before.end() ? 0 : old->second)) growth[name] = by;
  }
  return growth;
}

inline Counts operator+(Counts some, const Counts &others) {
  for (const auto &[name, by] : others) some[name] += by;
  return some;
}

}  // namespace Test
