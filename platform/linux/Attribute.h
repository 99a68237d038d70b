/// Reading netlink attributes whose lengths have not been checked.
#pragma once

#include <libmnl/libmnl.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "platform/pax/IpGenAddr.h"

namespace Linux {

inline std::span<const uint8_t> content(const nlattr &attribute) {
  return {static_cast<const uint8_t *>(mnl_attr_get_payload(&attribute)), mnl_attr_get_payload_len(&attribute)};
}

/// Calls `handle` with the type and the attribute, for each whole one in the bytes.
template <class Handle>
void forEachAttribute(std::span<const uint8_t> bytes, const Handle &handle) {
  const auto *attribute = reinterpret_cast<const nlattr *>(bytes.data());
  const auto rest = [&] {
    return static_cast<int>(bytes.data() + bytes.size() - reinterpret_cast<const uint8_t *>(attribute));
  };
  for (; mnl_attr_ok(attribute, rest()); attribute = mnl_attr_next(attribute)) {
    handle(mnl_attr_get_type(attribute), *attribute);
  }
}

/// The attributes that follow the header of a message.
template <class Header>
std::span<const uint8_t> attributesAfter(const nlmsghdr &message) {
  const size_t size = mnl_nlmsg_get_payload_len(&message), header = MNL_ALIGN(sizeof(Header));
  const auto *payload = static_cast<const uint8_t *>(mnl_nlmsg_get_payload(&message));
  return {payload + std::min(size, header), size - std::min(size, header)};
}

/// A text that may or may not end with a zero.
inline std::string_view text(const nlattr &attribute) {
  const auto bytes = content(attribute);
  const auto *characters = reinterpret_cast<const char *>(bytes.data());
  return {characters, strnlen(characters, bytes.size())};
}

/// A 32-bit number; 0 where there are fewer bytes.
inline uint32_t number(const nlattr &attribute) {
  return content(attribute).size() < sizeof(uint32_t) ? 0 : mnl_attr_get_u32(&attribute);
}

/// Of the family that the length implies; unset where it is neither.
inline Pax::IpGenAddr toAddress(std::span<const uint8_t> bytes) {
  return bytes.size() == 4 || bytes.size() == 16 ? Pax::IpGenAddr::fromBytes(bytes) : Pax::IpGenAddr();
}

}  // namespace Linux
