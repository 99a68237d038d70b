/// Address prefixes of either family.
#pragma once

#include "platform/pax/IpGenAddr.h"

namespace Pax {

/// An address and a length, with the host bits masked, so equal prefixes have equal fields. The default is the
/// empty prefix (no match, unset): a value of its own that equals neither 0.0.0.0/0 nor ::/0, covers nothing and
/// is covered by nothing. Ordered by family, then address, then length: a prefix stands before those it covers.
class IpGenPrefix {
 public:
  constexpr IpGenPrefix() = default;
  /// A length beyond that of the address is taken as the full length. Empty if the address has no family.
  IpGenPrefix(const IpGenAddr &address, uint8_t length);
  /// From "239.0.0.0/8"; host bits are masked. Throws Kiv::RangeError for anything else, "0.0.0.0" included.
  static IpGenPrefix fromText(std::string_view text);
  /// The prefix that contains only this address.
  static IpGenPrefix host(const IpGenAddr &address) { return {address, addressBits(address.af())}; }

  constexpr const IpGenAddr &address() const { return address_; }
  constexpr uint8_t length() const { return length_; }
  constexpr AddressFamily af() const { return address_.af(); }
  constexpr bool isEmpty() const { return af() == AddressFamily::unknown; }

  /// Whether every address of `other` is in this prefix too.
  bool covers(const IpGenPrefix &other) const;

  constexpr bool operator==(const IpGenPrefix &) const = default;
  constexpr std::strong_ordering operator<=>(const IpGenPrefix &) const = default;

 private:
  IpGenAddr address_;
  uint8_t length_ = 0;
};

/// "239.0.0.0/8"; "none" for the empty prefix.
std::ostream &operator<<(std::ostream &out, const IpGenPrefix &prefix);

/// All multicast groups, 224.0.0.0/4 or ff00::/8: the global scope zone. Empty for an unknown family.
IpGenPrefix allGroups(AddressFamily family);
/// All addresses: 0.0.0.0/0 or ::/0. Empty for an unknown family.
IpGenPrefix allAddresses(AddressFamily family);

}  // namespace Pax

template <>
struct std::hash<Pax::IpGenPrefix> {
  size_t operator()(const Pax::IpGenPrefix &prefix) const {
    return std::hash<Pax::IpGenAddr>()(prefix.address()) + prefix.length() * uint64_t{0x9e3779b9};
  }
};
