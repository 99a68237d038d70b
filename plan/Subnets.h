/// Which addresses of a subnet its hosts have.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/pax/IpGenPrefix.h"

namespace Planning {

/// The host of this number, from 0; unset if the subnet has none.
std::optional<Pax::IpGenAddr> hostOf(const Pax::IpGenPrefix &subnet, uint64_t number);

/// Whether it is the subnet's own or its broadcast address, which no host may have: of IPv4 subnets of length 30 or
/// shorter.
bool isFirstOrLast(const Pax::IpGenAddr &address, const Pax::IpGenPrefix &subnet);

/// Whether one of them is in the other.
bool overlap(const Pax::IpGenPrefix &a, const Pax::IpGenPrefix &b);

}  // namespace Planning
