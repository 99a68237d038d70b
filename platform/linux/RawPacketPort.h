/// The packet port on raw sockets.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/EventLoop.h"
#include "platform/linux/LinkTable.h"
#include "platform/linux/RawSocket.h"
#include "platform/pim/PacketPort.h"

namespace Linux {

/// Joins ALL-PIM-ROUTERS wherever PIM is on (Status.pimIntf), by interface index, and opens another socket when one can
/// have no more memberships. Every raw socket of a namespace gets every unicast, and in IPv6 every joined multicast: a
/// multicast is taken from the socket that joined on its interface, a unicast from the first socket, so that each
/// packet is handed up once. VrfPlatform makes it; the agent may hold it longer, when it is closed and sends nothing.
class RawPacketPort : public Routing::Pim::IO::PacketPort {
 public:
  /// Opens the first socket in `where`, bound to the vrf device of this index unless it is 0. Throws
  /// std::system_error.
  RawPacketPort(EventLoop &loop, const std::shared_ptr<const Namespace> &where, uint32_t vrfDevice,
                Pax::AddressFamily family, const Kiv::Ptr<const Routing::Pim::Status> &status,
                const Kiv::Ptr<Routing::RouteLookup> &routes, const Kiv::Ptr<const LinkTable> &links);
  ~RawPacketPort() override;

  void receiveBufferIs(uint32_t bytes) override;
  void maxPacketIs(uint32_t bytes) override { buffer_.resize(bytes); }
  void transparentIs(bool transparent) override;

  /// Closes every socket; sending fails afterwards.
  void close();
  size_t sockets() const { return sockets_.size(); }

 protected:
  bool transmit(const Routing::Pim::IO::Outgoing &packet) override;

 private:
  static constexpr int packetsPerTurn = 64;

  struct Open {
    explicit Open(RawSocket socket) : socket(std::move(socket)) {}
    RawSocket socket;
    uint32_t dropped = 0;  // by the kernel, since the socket was opened
    std::optional<Watch> watch;
  };
  class StatusReactor;

  Open &openSocket();
  void pimIntfChanged(const Pax::IntfId &intfId);
  void join(const Pax::IntfId &intfId);
  void leave(const Pax::IntfId &intfId);
  void read(Open &from);
  bool isMine(const Open &from, const Pax::IntfId &intfId, const Pax::IpGenAddr &destination) const;

  struct Membership {
    uint32_t ifIndex;
    Open *open;
  };

  EventLoop &loop_;
  std::shared_ptr<const Namespace> where_;
  const uint32_t vrfDevice_;
  const Kiv::Ptr<const Routing::Pim::Status> status_;
  const Kiv::Ptr<const LinkTable> links_;
  std::vector<std::unique_ptr<Open>> sockets_;
  std::map<Pax::IntfId, Membership> membership_;
  std::vector<uint8_t> buffer_;
  uint32_t receiveBuffer_ = 0;
  bool transparent_ = false;
  std::unique_ptr<StatusReactor> reactor_;
};

}  // namespace Linux
