/// The addresses that tests use, for either family.
#pragma once

#include "platform/pax/IpGenPrefix.h"

namespace Test {

struct Addresses {
  Pax::AddressFamily af;

  bool ipv4() const { return af == Pax::AddressFamily::ipv4; }
  Pax::IpGenPrefix global() const { return Pax::allGroups(af); }
  /// Routable addresses: candidate BSRs, RPs, hosts.
  Pax::IpGenAddr host(uint32_t n) const {
    return ipv4() ? Pax::IpGenAddr::v4(0x0a000000 + n) : Pax::IpGenAddr::v6(0x20010db800000000, n);
  }
  /// The PIM address of a router on a link.
  Pax::IpGenAddr onLink(uint32_t n) const {
    return ipv4() ? Pax::IpGenAddr::v4(0xc0a80000 + n) : Pax::IpGenAddr::v6(0xfe80000000000000, n);
  }
  /// Group ranges outside of any scope: 225.n.0.0/16 or ff3e:n::/32.
  Pax::IpGenPrefix group(uint32_t n) const {
    return ipv4() ? Pax::IpGenPrefix(Pax::IpGenAddr::v4(0xe1000000 + (n << 16)), 16)
                  : Pax::IpGenPrefix(Pax::IpGenAddr::v6(0xff3e000000000000 + (uint64_t{n} << 32), 0), 32);
  }
  /// Scopes: 239.n.0.0/16 or ff0n::/16.
  Pax::IpGenPrefix scope(uint32_t n) const {
    return ipv4() ? Pax::IpGenPrefix(Pax::IpGenAddr::v4(0xef000000 + (n << 16)), 16)
                  : Pax::IpGenPrefix(Pax::IpGenAddr::v6(0xff00000000000000 + (uint64_t{n} << 48), 0), 16);
  }
  /// Group ranges within scope n.
  Pax::IpGenPrefix inScope(uint32_t n, uint32_t m) const {
    const Pax::IpGenAddr base = scope(n).address();
    return ipv4() ? Pax::IpGenPrefix(Pax::IpGenAddr::v4(base.v4() + (m << 8)), 24)
                  : Pax::IpGenPrefix(Pax::IpGenAddr::v6(base.high() + (uint64_t{m} << 32), 0), 32);
  }
};

inline constexpr Addresses ipv4{Pax::AddressFamily::ipv4};
inline constexpr Addresses ipv6{Pax::AddressFamily::ipv6};

/// Runs a suite for both families.
#define FOR_BOTH_FAMILIES(suite)                                                     \
  INSTANTIATE_TEST_SUITE_P(Families, suite, testing::Values(Test::ipv4, Test::ipv6), \
                           [](const auto &info) { return info.param.ipv4() ? "IPv4" : "IPv6"; })

}  // namespace Test
