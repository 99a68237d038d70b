#include "platform/linux/RawPacketPort.h"

#include "platform/kiv/ReactorOf.h"
#include "platform/tracelet/Tracelet.h"

namespace Linux {

namespace {

Tracelet::Module trace("RawSocket");

constexpr uint32_t defaultMaxPacket = 2100;

bool isOutOfMemberships(const std::error_code &error) {
  return error == std::errc::no_buffer_space || error == std::errc::not_enough_memory;
}

}  // namespace

class RawPacketPort::StatusReactor : public Kiv::ReactorOf<Routing::Pim::Status, RawPacketPort> {
  using ReactorOf::ReactorOf;
  void onPimIntf(const Pax::IntfId &intfId) override { owner_.pimIntfChanged(intfId); }
};

RawPacketPort::RawPacketPort(EventLoop &loop, const std::shared_ptr<const Namespace> &where, uint32_t vrfDevice,
                             Pax::AddressFamily family, const Kiv::Ptr<const Routing::Pim::Status> &status,
                             const Kiv::Ptr<Routing::RouteLookup> &routes, const Kiv::Ptr<const LinkTable> &links)
    : PacketPort(family, status, routes),
      loop_(loop),
      where_(where),
      vrfDevice_(vrfDevice),
      status_(status),
      links_(links),
      buffer_(defaultMaxPacket) {
  openSocket();
  reactor_ = std::make_unique<StatusReactor>(*this, status);
  status->replay(*reactor_);
}

RawPacketPort::~RawPacketPort() = default;

void RawPacketPort::receiveBufferIs(uint32_t bytes) {
  receiveBuffer_ = bytes;
  for (const auto &open : sockets_) open->socket.receiveBufferIs(bytes);
}

void RawPacketPort::transparentIs(bool transparent) {
  transparent_ = transparent;
  for (const auto &open : sockets_) open->socket.transparentIs(transparent);
}

void RawPacketPort::close() {
  reactor_.reset();
  membership_.clear();
  sockets_.clear();
  where_.reset();
}

RawPacketPort::Open &RawPacketPort::openSocket() {
  Open &open = *sockets_.emplace_back(std::make_unique<Open>(RawSocket(*where_, af(), vrfDevice_)));
  if (receiveBuffer_ != 0) open.socket.receiveBufferIs(receiveBuffer_);
  if (transparent_) open.socket.transparentIs(true);
  open.watch.emplace(loop_, open.socket.descriptor(), [this, &open] { read(open); });
  return open;
}

void RawPacketPort::pimIntfChanged(const Pax::IntfId &intfId) {
  leave(intfId);
  if (!status_->pimIntf(intfId)) return;
  try {
    join(intfId);
  } catch (const std::system_error &error) {
    TRACELET(trace, 1, intfId << ": no PIM messages will be heard: " << error.what());
  }
}

void RawPacketPort::join(const Pax::IntfId &intfId) {
  const uint32_t ifIndex = links_->index(intfId);
  std::error_code error;
  for (const auto &open : sockets_) {
    error = open->socket.join(ifIndex);
    if (!error) {
      membership_[intfId] = {ifIndex, open.get()};
      return;
    }
    if (!isOutOfMemberships(error)) break;
  }
  if (isOutOfMemberships(error)) {
    Open &another = openSocket();
    TRACELET(trace, 5, "Socket " << sockets_.size() << " opened for " << intfId);
    error = another.socket.join(ifIndex);
    if (!error) membership_[intfId] = {ifIndex, &another};
  }
  if (error) throw std::system_error(error, "joining");
}

void RawPacketPort::leave(const Pax::IntfId &intfId) {
  const auto found = membership_.find(intfId);
  if (found == membership_.end()) return;
  found->second.open->socket.leave(found->second.ifIndex);
  membership_.erase(found);
}

void RawPacketPort::read(Open &from) {
  const Kiv::Ptr<RawPacketPort> alive(this);
  for (int i = 0; i < packetsPerTurn && !sockets_.empty(); ++i) {
    RawSocket::Datagram datagram;
    const RawSocket::Received received = from.socket.receive(buffer_, datagram);
    if (received == RawSocket::Received::nothing) return;
    if (datagram.dropped) dropped(*datagram.dropped - std::exchange(from.dropped, *datagram.dropped));
    if (received == RawSocket::Received::ignored) continue;
    const Pax::IntfId *intfId = links_->intfId(datagram.ifIndex);
    if (!intfId || !isMine(from, *intfId, datagram.destination)) continue;
    const Routing::Pim::IO::Incoming packet{*intfId, datagram.source, datagram.destination, datagram.payload};
    datagram.truncated ? receiveTooLong(packet) : receive(packet);
  }
}

bool RawPacketPort::isMine(const Open &from, const Pax::IntfId &intfId, const Pax::IpGenAddr &destination) const {
  if (!destination.isMulticast()) return &from == sockets_.front().get();
  const auto found = membership_.find(intfId);
  return found != membership_.end() && found->second.open == &from;
}

bool RawPacketPort::transmit(const Routing::Pim::IO::Outgoing &packet) {
  const uint32_t ifIndex = packet.intfId.isEmpty() ? 0 : links_->index(packet.intfId);
  std::error_code error = std::make_error_code(std::errc::no_such_device);
  if (!sockets_.empty() && (ifIndex != 0 || packet.intfId.isEmpty())) {
    error = sockets_.front()->socket.send({ifIndex, packet.source, packet.destination, packet.payload});
  }
  if (error) {
    TRACELET(trace, 1,
             "Cannot send from " << packet.source << " to " << packet.destination << " on " << packet.intfId << ": "
                                 << error.message());
  }
  return !error;
}

}  // namespace Linux
