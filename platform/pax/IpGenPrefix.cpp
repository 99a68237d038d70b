#include "platform/pax/IpGenPrefix.h"

#include <algorithm>
#include <charconv>
#include <ostream>

#include "platform/kiv/RangeError.h"

namespace Pax {

namespace {

// The first `length` bits of a 64-bit word set.
constexpr uint64_t leadingBits(unsigned length) {
  return length == 0 ? 0 : ~uint64_t{0} << (64 - std::min(length, 64u));
}

IpGenAddr masked(const IpGenAddr &address, unsigned length) {
  if (address.af() == AddressFamily::ipv4)
    return IpGenAddr::v4(address.v4() & static_cast<uint32_t>(leadingBits(length) >> 32));
  return IpGenAddr::v6(address.high() & leadingBits(length),
                       length > 64 ? address.low() & leadingBits(length - 64) : 0);
}

}  // namespace

IpGenPrefix::IpGenPrefix(const IpGenAddr &address, uint8_t length) {
  if (address.af() == AddressFamily::unknown) return;
  length_ = std::min(length, addressBits(address.af()));
  address_ = masked(address, length_);
}

IpGenPrefix IpGenPrefix::fromText(std::string_view text) {
  const size_t slash = text.find('/');
  const auto bad = [&] { return Kiv::RangeError("not an IP prefix: \"" + std::string(text) + "\""); };
  if (slash == std::string_view::npos) throw bad();
  const IpGenAddr address = IpGenAddr::fromText(text.substr(0, slash));
  uint8_t length = 0;
  const std::string_view digits = text.substr(slash + 1);
  const char *end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, length);
  if (error != std::errc() || stop != end || length > addressBits(address.af())) throw bad();
  if (digits.size() > 1 && digits.front() == '0') throw bad();
  return {address, length};
}

bool IpGenPrefix::covers(const IpGenPrefix &other) const {
  return !isEmpty() && af() == other.af() && length_ <= other.length_ && masked(other.address_, length_) == address_;
}

std::ostream &operator<<(std::ostream &out, const IpGenPrefix &prefix) {
  if (prefix.isEmpty()) return out << "none";
  return out << prefix.address() << '/' << unsigned{prefix.length()};
}

IpGenPrefix allGroups(AddressFamily family) {
  if (family == AddressFamily::ipv4) return {IpGenAddr::v4(0xe0000000), 4};
  return family == AddressFamily::ipv6 ? IpGenPrefix(IpGenAddr::v6(0xff00ull << 48, 0), 8) : IpGenPrefix();
}

// Of the groups only the family counts here.
IpGenPrefix allAddresses(AddressFamily family) { return {allGroups(family).address(), 0}; }

}  // namespace Pax
