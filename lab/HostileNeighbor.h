/// A PIM neighbor that means harm.
#pragma once

#include <string>
#include <vector>

#include "platform/linux/RawSocket.h"
#include "platform/pim/Codec.h"

namespace Lab {

/// Sends PIM messages out of one interface of the namespace in which it is made, with any source, as records or as
/// bytes, and counts them. Whoever attacks owns it. Without Hellos nobody listens to it.
class HostileNeighbor {
 public:
  struct Parameters {
    std::string interface;
    Pax::IpGenAddr address;  ///< source of what it sends on the link; for IPv6 link-local
    Pax::IpGenAddr bsr;      ///< the address that it claims as BSR, which must lead to it
    Pax::IpGenAddr target;   ///< the BSR of the others, for unicast messages
  };

  /// Throws std::system_error.
  explicit HostileNeighbor(const Parameters &parameters);

  Pax::AddressFamily family() const { return parameters_.address.af(); }
  const Parameters &parameters() const { return parameters_; }
  uint64_t sent() const { return sent_; }
  uint64_t failed() const { return failed_; }

  /// Says Hello with the default hold time, and lists the address that it claims as BSR.
  void sayHello();
  /// To ALL-PIM-ROUTERS on the link, from its own address or from that of the message if it has one.
  void send(const Routing::Pim::Packet::Message &message);
  /// To the target, by the route.
  void sendToTarget(const Routing::Pim::Packet::Message &message);
  /// To ALL-PIM-ROUTERS, unchanged, however wrong.
  void sendBytes(std::span<const uint8_t> bytes);
  /// The wire form with its checksum, as send() would send it.
  const std::vector<uint8_t> &encoded(const Routing::Pim::Packet::Message &message);
  /// Makes the checksum right, as send() would.
  void sign(std::span<uint8_t> bytes) const;

 private:
  void depart(const Linux::RawSocket::Departure &departure);

  const Parameters parameters_;
  const Pax::IpGenAddr all_;
  const uint32_t ifIndex_;
  const Linux::RawSocket socket_;
  const Routing::Pim::Packet::Codec codec_;
  std::vector<uint8_t> bytes_;
  uint64_t sent_ = 0;
  uint64_t failed_ = 0;
};

}  // namespace Lab
