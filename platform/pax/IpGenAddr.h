/// IPv4 and IPv6 addresses as one value type.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace Pax {

enum class AddressFamily : uint8_t { unknown = 0, ipv4 = 1, ipv6 = 2 };
std::ostream &operator<<(std::ostream &out, AddressFamily family);

/// Bits of an address of the family, 0 where there is none.
constexpr uint8_t addressBits(AddressFamily family) {
  return family == AddressFamily::ipv4 ? 32 : family == AddressFamily::ipv6 ? 128 : 0;
}

/// An address with its family. The default has no family; it and the all-zero addresses mean unset.
/// Ordered by family, then numerically.
class IpGenAddr {
 public:
  constexpr IpGenAddr() = default;
  /// From a number in host order.
  static constexpr IpGenAddr v4(uint32_t number) { return {AddressFamily::ipv4, 0, number}; }
  static constexpr IpGenAddr v6(uint64_t high, uint64_t low) { return {AddressFamily::ipv6, high, low}; }
  /// From 4 or 16 bytes in network order; unset for any other number.
  static IpGenAddr fromBytes(std::span<const uint8_t> bytes);
  /// From "10.0.0.1" or "fe80::1"; throws Kiv::RangeError.
  static IpGenAddr fromText(std::string_view text);

  constexpr AddressFamily af() const { return family_; }
  constexpr bool isZero() const { return high_ == 0 && low_ == 0; }
  constexpr uint32_t v4() const { return static_cast<uint32_t>(low_); }
  constexpr uint64_t high() const { return high_; }
  constexpr uint64_t low() const { return low_; }
  /// Network order; the first 4 are an IPv4 address.
  std::array<uint8_t, 16> bytes() const;

  constexpr bool isMulticast() const {
    return family_ == AddressFamily::ipv4 ? v4() >> 28 == 0xe : family_ == AddressFamily::ipv6 && high_ >> 56 == 0xff;
  }
  /// 169.254.0.0/16 or fe80::/10
  constexpr bool isLinkLocal() const {
    return family_ == AddressFamily::ipv4 ? v4() >> 16 == 0xa9fe
                                          : family_ == AddressFamily::ipv6 && high_ >> 54 == 0xfe80 >> 6;
  }
  bool isLoopback() const;

  constexpr bool operator==(const IpGenAddr &) const = default;
  constexpr std::strong_ordering operator<=>(const IpGenAddr &) const = default;

 private:
  constexpr IpGenAddr(AddressFamily family, uint64_t high, uint64_t low) : family_(family), high_(high), low_(low) {}

  AddressFamily family_ = AddressFamily::unknown;
  uint64_t high_ = 0;
  uint64_t low_ = 0;
};

std::ostream &operator<<(std::ostream &out, const IpGenAddr &address);

/// 224.0.0.13 or ff02::d.
IpGenAddr allPimRouters(AddressFamily family);

}  // namespace Pax

template <>
struct std::hash<Pax::IpGenAddr> {
  size_t operator()(const Pax::IpGenAddr &address) const {
    const uint64_t mixed = (address.low() ^ (address.high() * 0x9e3779b97f4a7c15)) * 0xff51afd7ed558ccd;
    return mixed ^ (mixed >> 32);
  }
};
