/// IPv4 and IPv6 addresses as one value type.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string_view>

namespace Pax {

/// The numbers are those of the encoded addresses of PIM (RFC 7761 section 4.9.1).
enum class AddressFamily : uint8_t { unknown = 0, ipv4 = 1, ipv6 = 2 };
std::ostream &operator<<(std::ostream &out, AddressFamily family);

/// How many bits an address of the family has; 0 for an unknown family.
constexpr uint8_t addressBits(AddressFamily family) {
  return family == AddressFamily::ipv4 ? 32 : family == AddressFamily::ipv6 ? 128 : 0;
}

/// An address and its family, without a zone index: which link a link-local address is on, an IntfId beside it
/// says. The default has no family. It and the all-zero addresses of both families mean unset (isZero()), but do
/// not equal one another. Ordered by family, then numerically.
class IpGenAddr {
 public:
  constexpr IpGenAddr() = default;
  /// From numbers in host order.
  static constexpr IpGenAddr v4(uint32_t number) { return {AddressFamily::ipv4, 0, number}; }
  static constexpr IpGenAddr v6(uint64_t high, uint64_t low) { return {AddressFamily::ipv6, high, low}; }
  /// From 4 or 16 bytes in network order; unset for any other number of bytes.
  static IpGenAddr fromBytes(std::span<const uint8_t> bytes);
  /// From "10.0.0.1" or "fe80::1". Throws Kiv::RangeError for anything else, spaces and "%eth0" included.
  static IpGenAddr fromText(std::string_view text);

  constexpr AddressFamily af() const { return family_; }
  constexpr bool isZero() const { return high_ == 0 && low_ == 0; }
  /// The number of an IPv4 address.
  constexpr uint32_t v4() const { return static_cast<uint32_t>(low_); }
  /// The two halves of an IPv6 address; an IPv4 address is in the low half.
  constexpr uint64_t high() const { return high_; }
  constexpr uint64_t low() const { return low_; }
  /// In network order; of an IPv4 address the first 4 count.
  std::array<uint8_t, 16> bytes() const;

  /// 224.0.0.0/4 or ff00::/8
  constexpr bool isMulticast() const {
    return family_ == AddressFamily::ipv4 ? v4() >> 28 == 0xe : family_ == AddressFamily::ipv6 && high_ >> 56 == 0xff;
  }
  /// 169.254.0.0/16 or fe80::/10
  constexpr bool isLinkLocal() const {
    return family_ == AddressFamily::ipv4 ? v4() >> 16 == 0xa9fe
                                          : family_ == AddressFamily::ipv6 && high_ >> 54 == 0xfe80 >> 6;
  }
  /// 127.0.0.0/8 or ::1
  constexpr bool isLoopback() const {
    return family_ == AddressFamily::ipv4 ? v4() >> 24 == 127
                                          : high_ == 0 && low_ == 1 && family_ == AddressFamily::ipv6;
  }
  /// 255.255.255.255; of a subnet's own broadcast address an address alone does not tell.
  constexpr bool isBroadcast() const { return family_ == AddressFamily::ipv4 && v4() == 0xffffffff; }

  constexpr bool operator==(const IpGenAddr &) const = default;
  constexpr std::strong_ordering operator<=>(const IpGenAddr &) const = default;

 private:
  constexpr IpGenAddr(AddressFamily family, uint64_t high, uint64_t low) : family_(family), high_(high), low_(low) {}

  AddressFamily family_ = AddressFamily::unknown;
  uint64_t high_ = 0;
  uint64_t low_ = 0;
};

/// "10.0.0.1" or "fe80::1"; "unset" for an address without a family.
std::ostream &operator<<(std::ostream &out, const IpGenAddr &address);

/// ALL-PIM-ROUTERS: 224.0.0.13 or ff02::d.
IpGenAddr allPimRouters(AddressFamily family);

}  // namespace Pax

template <>
struct std::hash<Pax::IpGenAddr> {
  size_t operator()(const Pax::IpGenAddr &address) const {
    const uint64_t mixed = (address.low() ^ (address.high() * 0x9e3779b97f4a7c15)) * 0xff51afd7ed558ccd;
    return mixed ^ (mixed >> 32);
  }
};
