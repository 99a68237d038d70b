/// Addresses in the form that sockets take.
#pragma once

#include <netinet/in.h>

#include <cstring>

#include "platform/pax/IpGenAddr.h"

namespace Linux {

template <class Raw>
void toSocket(const Pax::IpGenAddr &address, Raw &raw) {
  static_assert(sizeof raw == sizeof(in_addr) || sizeof raw == sizeof(in6_addr));
  std::memcpy(&raw, address.bytes().data(), sizeof raw);
}

/// Returns the size of the socket address.
inline socklen_t toSocket(const Pax::IpGenAddr &address, sockaddr_storage &storage) {
  storage = {};
  if (address.af() == Pax::AddressFamily::ipv4) {
    auto &v4 = reinterpret_cast<sockaddr_in &>(storage);
    v4.sin_family = AF_INET;
    toSocket(address, v4.sin_addr);
    return sizeof v4;
  }
  auto &v6 = reinterpret_cast<sockaddr_in6 &>(storage);
  v6.sin6_family = AF_INET6;
  toSocket(address, v6.sin6_addr);
  return sizeof v6;
}

template <class Raw>
Pax::IpGenAddr fromSocket(const Raw &raw) {
  static_assert(sizeof raw == sizeof(in_addr) || sizeof raw == sizeof(in6_addr));
  return Pax::IpGenAddr::fromBytes({reinterpret_cast<const uint8_t *>(&raw), sizeof raw});
}

inline Pax::IpGenAddr fromSocket(const sockaddr_storage &storage) {
  if (storage.ss_family == AF_INET) return fromSocket(reinterpret_cast<const sockaddr_in &>(storage).sin_addr);
  return fromSocket(reinterpret_cast<const sockaddr_in6 &>(storage).sin6_addr);
}

}  // namespace Linux
