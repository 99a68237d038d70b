/// What KernelRouteLookup reads from the kernel's answer about a route.
#pragma once

#include <linux/netlink.h>

#include <cstdint>
#include <vector>

#include "platform/pax/IpGenAddr.h"

namespace Linux {

struct RouteMessage {
  struct Hop {
    uint32_t ifIndex = 0;
    Pax::IpGenAddr gateway;  ///< unset where the destination is on the link
  };

  uint8_t type = 0;              ///< RTN_UNICAST, RTN_LOCAL, ...
  uint32_t table = 0;            ///< in which it was found
  std::vector<Hop> hop;          ///< those that are up
  bool isNextHopObject = false;  ///< refers to a nexthop object

  /// A truncated message has the type 0.
  static RouteMessage parse(const nlmsghdr &message);
};

}  // namespace Linux
