/// A raw socket of IP protocol 103.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/linux/Namespace.h"
#include "platform/pax/IpGenAddr.h"

namespace Linux {

/// Non-blocking. Sends with TOS 0xc0 (CS6) and without multicast loop; receives multicast only from interfaces where it
/// has joined (IPv4), or for groups that it has joined anywhere (IPv6). In both families the codec, not the kernel,
/// fills and checks the checksum. RawPacketPort owns it.
class RawSocket {
 public:
  struct Datagram {
    uint32_t ifIndex = 0;
    Pax::IpGenAddr source;
    Pax::IpGenAddr destination;
    std::span<const uint8_t> payload;  ///< into the caller's buffer, without the IP header
    bool truncated = false;            ///< the buffer was too short
    /// Packets that the kernel has dropped since the socket was opened, because its buffer was full or its memory
    /// short; wraps at 32 bits. Told with the first packet after a drop and all that follow.
    std::optional<uint32_t> dropped;
  };
  struct Departure {
    uint32_t ifIndex = 0;  ///< out of it with TTL 1; 0: routed, with the default TTL
    Pax::IpGenAddr source;
    Pax::IpGenAddr destination;
    std::span<const uint8_t> payload;
  };
  enum class Received { packet, ignored, nothing };

  /// With the index of a vrf device, it is bound to that: it receives what arrives on the members and looks up routes
  /// in the device's table. Throws std::system_error.
  RawSocket(const Namespace &where, Pax::AddressFamily family, uint32_t vrfDevice = 0);

  int descriptor() const { return descriptor_.number(); }

  /// Joins and leaves ALL-PIM-ROUTERS. Joining fails with ENOBUFS or ENOMEM when the socket may have
  /// no more memberships.
  std::error_code join(uint32_t ifIndex) const;
  void leave(uint32_t ifIndex) const;

  void receiveBufferIs(uint32_t bytes) const;
  void transparentIs(bool transparent) const;

  /// A packet is ignored if its header is malformed or its addresses are unknown; an error is traced and ignored.
  Received receive(std::span<uint8_t> buffer, Datagram &datagram) const;
  std::error_code send(const Departure &departure) const;

 private:
  bool option(int level, int name, int value) const;
  void require(int name, int value, const char *tried) const;
  std::error_code membership(int name, uint32_t ifIndex) const;

  bool isV4_;
  int level_;  // of the family's socket options
  Descriptor descriptor_;
};

}  // namespace Linux
