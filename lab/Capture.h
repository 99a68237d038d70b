/// Bootstrap messages out of a capture file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/pax/IpGenAddr.h"

namespace Lab {

/// The PIM payload of one captured packet, byte for byte.
struct CapturedMessage {
  double offset = 0;  ///< seconds after the first one
  Pax::IpGenAddr source;
  Pax::IpGenAddr destination;
  std::vector<uint8_t> payload;
};

/// The Bootstrap messages of `family` in `file`, in order, even malformed ones. Reads the formats that libpcap reads,
/// with Ethernet (and VLAN tags), Linux "any" or raw IP as link type. Packets that the capture truncated and IP
/// fragments are left out. Throws std::runtime_error, also when there is no message.
std::vector<CapturedMessage> readCapture(const std::string &file, Pax::AddressFamily family);

/// Gives the message other addresses, and adjusts an IPv6 checksum to them (RFC 1624), so that a right one stays right
/// and a wrong one stays wrong. The checksum of IPv4 does not cover addresses.
void readdress(CapturedMessage &message, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination);

}  // namespace Lab
