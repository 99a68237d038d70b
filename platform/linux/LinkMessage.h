/// What NetlinkMonitor reads from the kernel's messages about links and addresses.
#pragma once

#include <linux/netlink.h>

#include <optional>
#include <string>

#include "platform/ip/IntfStatus.h"

namespace Linux {

/// RTM_NEWLINK or RTM_DELLINK.
struct LinkMessage {
  uint32_t index = 0;
  std::string name;
  bool adminUp = false;
  bool up = false;  ///< administratively and operationally
  uint32_t mtu = 0;
  bool isVrfDevice = false;
  /// The index of the vrf device to which it belongs, as that does itself; 0 for an interface of none.
  uint32_t vrfDevice = 0;

  /// Nothing for a message that is not about the link itself (a bridge announces its ports in the same way) or is
  /// truncated.
  static std::optional<LinkMessage> parse(const nlmsghdr &message);
};

/// RTM_NEWADDR or RTM_DELADDR.
struct AddressMessage {
  uint32_t index = 0;
  Pax::IpGenAddr address;
  uint8_t prefixLength = 0;
  Ip::AddressInfo info;

  static std::optional<AddressMessage> parse(const nlmsghdr &message);
  bool isSameEntry(const AddressMessage &other) const {
    return address == other.address && prefixLength == other.prefixLength && info.subnet == other.info.subnet;
  }
};

}  // namespace Linux
