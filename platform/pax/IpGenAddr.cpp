#include "platform/pax/IpGenAddr.h"

#include <arpa/inet.h>

#include <ostream>

#include "platform/kiv/RangeError.h"

namespace Pax {

std::ostream &operator<<(std::ostream &out, AddressFamily family) {
  return out << (family == AddressFamily::ipv4 ? "ipv4" : family == AddressFamily::ipv6 ? "ipv6" : "unknown");
}

IpGenAddr IpGenAddr::fromBytes(std::span<const uint8_t> bytes) {
  const auto number = [](std::span<const uint8_t> part) {
    uint64_t result = 0;
    for (const uint8_t byte : part) result = result << 8 | byte;
    return result;
  };
  if (bytes.size() == 4) return v4(static_cast<uint32_t>(number(bytes)));
  if (bytes.size() != 16) return {};
  return v6(number(bytes.first(8)), number(bytes.subspan(8, 8)));
}

IpGenAddr IpGenAddr::fromText(std::string_view text) {
  const std::string terminated(text);
  const bool whole = text.find('\0') == std::string_view::npos;
  std::array<uint8_t, 16> bytes{};
  if (whole && inet_pton(AF_INET, terminated.c_str(), bytes.data()) == 1) return fromBytes(std::span(bytes).first(4));
  if (whole && inet_pton(AF_INET6, terminated.c_str(), bytes.data()) == 1) return fromBytes(bytes);
  throw Kiv::RangeError("not an IP address: \"" + terminated + "\"");
}

std::array<uint8_t, 16> IpGenAddr::bytes() const {
  std::array<uint8_t, 16> result{};
  if (family_ == AddressFamily::ipv4) {
    for (unsigned i = 0; i < 4; ++i) result[i] = static_cast<uint8_t>(low_ >> (24 - 8 * i));
  } else {
    for (unsigned i = 0; i < 8; ++i) {
      result[i] = static_cast<uint8_t>(high_ >> (56 - 8 * i));
      result[8 + i] = static_cast<uint8_t>(low_ >> (56 - 8 * i));
    }
  }
  return result;
}

std::ostream &operator<<(std::ostream &out, const IpGenAddr &address) {
  if (address.af() == AddressFamily::unknown) return out << "unset";
  char text[INET6_ADDRSTRLEN];
  const auto bytes = address.bytes();
  return out << inet_ntop(address.af() == AddressFamily::ipv4 ? AF_INET : AF_INET6, bytes.data(), text, sizeof text);
}

IpGenAddr allPimRouters(AddressFamily family) {
  return family == AddressFamily::ipv4 ? IpGenAddr::v4(0xe000000d) : IpGenAddr::v6(0xff02ull << 48, 0xd);
}

}  // namespace Pax
