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

/// The Bootstrap messages of `family` in `file`, in order, whatever else may be wrong with them. Reads
/// what libpcap reads, of Ethernet (with VLAN tags), Linux "any" and raw IP. A packet that was cut by
/// the capture or is an IP fragment is left out. Throws std::runtime_error, also when there is none.
std::vector<CapturedMessage> readCapture(const std::string &file, Pax::AddressFamily family);

/// Changes the checksum of an IPv6 message by what it differs from for the new addresses (as RFC 1624
/// has it), so that a good one stays good and a wrong one stays wrong. That of IPv4 covers no address.
void readdress(CapturedMessage &message, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination);

}  // namespace Lab
