#include "plan/Subnets.h"

namespace Planning {

using Pax::IpGenAddr;
using Pax::IpGenPrefix;

std::optional<IpGenAddr> hostOf(const IpGenPrefix &subnet, uint64_t number) {
  const IpGenAddr &base = subnet.address();
  const uint8_t hostBits = Pax::addressBits(subnet.af()) - subnet.length();
  if (hostBits > 1) ++number;  // the first is the subnet's own
  if (hostBits < 63 && number >= (uint64_t{1} << hostBits)) return std::nullopt;
  const IpGenAddr host = subnet.af() == Pax::AddressFamily::ipv4
                             ? IpGenAddr::v4(base.v4() + static_cast<uint32_t>(number))
                             : IpGenAddr::v6(base.high(), base.low() + number);
  if (isFirstOrLast(host, subnet)) return std::nullopt;
  return host;
}

bool isFirstOrLast(const IpGenAddr &address, const IpGenPrefix &subnet) {
  if (subnet.af() != Pax::AddressFamily::ipv4 || subnet.length() > 30) return false;
  const uint32_t hosts = UINT32_MAX >> subnet.length();
  return (address.v4() & hosts) == 0 || (address.v4() & hosts) == hosts;
}

bool overlap(const IpGenPrefix &a, const IpGenPrefix &b) { return a.covers(b) || b.covers(a); }

}  // namespace Planning
