/// The address plan of simulated networks: every link, interface and router has addresses of its own, which follow
/// from its number. A number beyond the plan is fatal.
#pragma once

#include "platform/pax/IpGenPrefix.h"
#include "platform/tracelet/Require.h"

namespace Sim {

/// Of the links: 10.0.0.0/24, 10.0.1.0/24, ... or 2001:db8::/64, 2001:db8:0:1::/64, ...
inline Pax::IpGenPrefix linkSubnet(Pax::AddressFamily family, uint32_t link) {
  REQUIRE(link < 0x10000);
  if (family == Pax::AddressFamily::ipv4) return {Pax::IpGenAddr::v4(0x0a000000 + (link << 8)), 24};
  return {Pax::IpGenAddr::v6(0x20010db800000000 + link, 0), 64};
}

/// Of the interfaces of a link, in the order in which they joined it: the addresses of its subnet from the first on.
inline Pax::IpGenAddr memberAddress(const Pax::IpGenPrefix &subnet, uint32_t member) {
  REQUIRE(member < 254);
  const Pax::IpGenAddr &base = subnet.address();
  if (subnet.af() == Pax::AddressFamily::ipv4) return Pax::IpGenAddr::v4(base.v4() + member + 1);
  return Pax::IpGenAddr::v6(base.high(), member + 1);
}

/// Of a router on all its links: fe80::1, fe80::2, ...
inline Pax::IpGenAddr linkLocalAddress(uint32_t router) { return Pax::IpGenAddr::v6(0xfe80000000000000, router + 1); }

/// Of the loopback interfaces of the routers: 192.168.0.1, 192.168.0.2, ... or 2001:db8:ffff::1, ...
inline Pax::IpGenAddr loopbackAddress(Pax::AddressFamily family, uint32_t router) {
  REQUIRE(router < 0xffff);
  if (family == Pax::AddressFamily::ipv4) return Pax::IpGenAddr::v4(0xc0a80001 + router);
  return Pax::IpGenAddr::v6(0x20010db8ffff0000, router + 1);
}

}  // namespace Sim
