#include "platform/linux/RawSocket.h"

#include <netinet/in.h>
#include <netinet/ip.h>
#include <sys/socket.h>

#include <array>
#include <cstring>

#include "platform/linux/SocketAddress.h"
#include "platform/tracelet/Tracelet.h"

namespace Linux {

namespace {

Tracelet::Module trace("RawSocket");

constexpr int protocolPim = 103;
constexpr int classSelector6 = 0xc0;
// Not in the C library's header yet; a value of linux/in6.h, which cannot be included beside it.
constexpr int ipv6MulticastAll = 29;

// Room for packet info and a number, in both families: a TTL or hop limit to send with, or the packets dropped.
struct Control {
  alignas(cmsghdr) std::array<uint8_t, CMSG_SPACE(sizeof(in6_pktinfo)) + CMSG_SPACE(sizeof(int))> bytes{};
};

template <class Info>
Info infoOf(cmsghdr &header) {
  Info info{};
  std::memcpy(&info, CMSG_DATA(&header), sizeof info);
  return info;
}

template <class Info>
void append(msghdr &message, int level, int type, const Info &info) {
  auto *header = reinterpret_cast<cmsghdr *>(static_cast<uint8_t *>(message.msg_control) + message.msg_controllen);
  header->cmsg_level = level;
  header->cmsg_type = type;
  header->cmsg_len = CMSG_LEN(sizeof info);
  std::memcpy(CMSG_DATA(header), &info, sizeof info);
  message.msg_controllen += CMSG_SPACE(sizeof info);
}

// Arrival interface and destination, and the packets dropped, as far as they are told.
void readControl(msghdr &message, RawSocket::Datagram &datagram) {
  for (cmsghdr *header = CMSG_FIRSTHDR(&message); header; header = CMSG_NXTHDR(&message, header)) {
    if (header->cmsg_level == IPPROTO_IP && header->cmsg_type == IP_PKTINFO) {
      const auto info = infoOf<in_pktinfo>(*header);
      datagram.ifIndex = static_cast<uint32_t>(info.ipi_ifindex);
      datagram.destination = fromSocket(info.ipi_addr);
    } else if (header->cmsg_level == IPPROTO_IPV6 && header->cmsg_type == IPV6_PKTINFO) {
      const auto info = infoOf<in6_pktinfo>(*header);
      datagram.ifIndex = info.ipi6_ifindex;
      datagram.destination = fromSocket(info.ipi6_addr);
    } else if (header->cmsg_level == SOL_SOCKET && header->cmsg_type == SO_RXQ_OVFL) {
      datagram.dropped = infoOf<uint32_t>(*header);
    }
  }
}

size_t headerLength(std::span<const uint8_t> packet) { return packet.empty() ? 0 : size_t{packet[0] & 0x0fu} * 4; }

}  // namespace

RawSocket::RawSocket(const Namespace &where, Pax::AddressFamily family, uint32_t vrfDevice)
    : isV4_(family == Pax::AddressFamily::ipv4), level_(isV4_ ? IPPROTO_IP : IPPROTO_IPV6) {
  descriptor_ = Descriptor(where.inside(
      [&] { return socket(isV4_ ? AF_INET : AF_INET6, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, protocolPim); }));
  if (!descriptor_) throw systemError("raw socket");
  if (vrfDevice != 0 && !option(SOL_SOCKET, SO_BINDTOIFINDEX, static_cast<int>(vrfDevice))) {
    throw systemError("binding to a vrf device");
  }
  if (!option(SOL_SOCKET, SO_RXQ_OVFL, 1)) TRACELET(trace, 1, "What the kernel drops is not counted");
  if (isV4_) {
    require(IP_PKTINFO, 1, "IP_PKTINFO");
    require(IP_MULTICAST_ALL, 0, "IP_MULTICAST_ALL");
    require(IP_MULTICAST_LOOP, 0, "IP_MULTICAST_LOOP");
    require(IP_MULTICAST_TTL, 1, "IP_MULTICAST_TTL");
    require(IP_TOS, classSelector6, "IP_TOS");
  } else {
    require(IPV6_RECVPKTINFO, 1, "IPV6_RECVPKTINFO");
    require(IPV6_CHECKSUM, -1, "IPV6_CHECKSUM");
    require(IPV6_MULTICAST_LOOP, 0, "IPV6_MULTICAST_LOOP");
    require(IPV6_MULTICAST_HOPS, 1, "IPV6_MULTICAST_HOPS");
    require(IPV6_TCLASS, classSelector6, "IPV6_TCLASS");
    if (!option(IPPROTO_IPV6, ipv6MulticastAll, 0)) TRACELET(trace, 5, "No IPV6_MULTICAST_ALL in this kernel");
  }
}

bool RawSocket::option(int level, int name, int value) const {
  return setsockopt(descriptor(), level, name, &value, sizeof value) == 0;
}

void RawSocket::require(int name, int value, const char *tried) const {
  if (!option(level_, name, value)) throw systemError(tried);
}

std::error_code RawSocket::membership(int name, uint32_t ifIndex) const {
  group_req request{};
  request.gr_interface = ifIndex;
  toSocket(Pax::allPimRouters(isV4_ ? Pax::AddressFamily::ipv4 : Pax::AddressFamily::ipv6), request.gr_group);
  if (setsockopt(descriptor(), level_, name, &request, sizeof request) == 0) return {};
  return lastError();
}

std::error_code RawSocket::join(uint32_t ifIndex) const { return membership(MCAST_JOIN_GROUP, ifIndex); }

// Fails where the link is gone, and with it the membership, but frees the socket's place for another.
void RawSocket::leave(uint32_t ifIndex) const { membership(MCAST_LEAVE_GROUP, ifIndex); }

void RawSocket::receiveBufferIs(uint32_t bytes) const {
  const int wanted = static_cast<int>(bytes);
  if (option(SOL_SOCKET, SO_RCVBUFFORCE, wanted)) return;
  option(SOL_SOCKET, SO_RCVBUF, wanted);
  int granted = 0;
  socklen_t size = sizeof granted;
  getsockopt(descriptor(), SOL_SOCKET, SO_RCVBUF, &granted, &size);
  granted /= 2;  // the kernel doubles what it is asked for
  if (granted < wanted) {
    TRACELET(trace, 1, "Receive buffer of " << granted << " bytes instead of " << wanted << ": no privilege for more");
  }
}

// Either option lets a packet leave from an address that is not this router's: IPv4 needs the first
// (and that needs privilege), IPv6 is content with the second.
void RawSocket::transparentIs(bool transparent) const {
  const bool done = option(level_, isV4_ ? IP_TRANSPARENT : IPV6_TRANSPARENT, transparent);
  if (!done && transparent) TRACELET(trace, 1, "Not transparent: " << lastError().message());
  option(level_, isV4_ ? IP_FREEBIND : IPV6_FREEBIND, transparent);
}

RawSocket::Received RawSocket::receive(std::span<uint8_t> buffer, Datagram &datagram) const {
  sockaddr_storage source{};
  Control control;
  iovec vector{buffer.data(), buffer.size()};
  msghdr message{};
  message.msg_name = &source;
  message.msg_namelen = sizeof source;
  message.msg_iov = &vector;
  message.msg_iovlen = 1;
  message.msg_control = control.bytes.data();
  message.msg_controllen = control.bytes.size();
  const ssize_t size = recvmsg(descriptor(), &message, 0);
  if (size < 0) {
    if (errno == EAGAIN) return Received::nothing;
    TRACELET(trace, 1, "Receive error: " << lastError().message());
    return Received::ignored;
  }
  const std::span<const uint8_t> packet = buffer.first(static_cast<size_t>(size));
  const size_t header = isV4_ ? headerLength(packet) : 0;
  readControl(message, datagram);
  if (header > packet.size() || datagram.ifIndex == 0) return Received::ignored;
  datagram.source = fromSocket(source);
  datagram.payload = packet.subspan(header);
  datagram.truncated = message.msg_flags & MSG_TRUNC;
  return Received::packet;
}

std::error_code RawSocket::send(const Departure &departure) const {
  sockaddr_storage destination{};
  const socklen_t destinationSize = toSocket(departure.destination, destination);
  Control control;
  // The kernel only reads what is sent.
  iovec vector{const_cast<uint8_t *>(departure.payload.data()), departure.payload.size()};
  msghdr message{};
  message.msg_name = &destination;
  message.msg_namelen = destinationSize;
  message.msg_iov = &vector;
  message.msg_iovlen = 1;
  message.msg_control = control.bytes.data();
  if (isV4_) {
    in_pktinfo info{};
    info.ipi_ifindex = static_cast<int>(departure.ifIndex);
    toSocket(departure.source, info.ipi_spec_dst);
    append(message, IPPROTO_IP, IP_PKTINFO, info);
  } else {
    in6_pktinfo info{};
    info.ipi6_ifindex = departure.ifIndex;
    toSocket(departure.source, info.ipi6_addr);
    append(message, IPPROTO_IPV6, IPV6_PKTINFO, info);
  }
  if (departure.ifIndex != 0) append(message, level_, isV4_ ? IP_TTL : IPV6_HOPLIMIT, int{1});
  if (sendmsg(descriptor(), &message, 0) >= 0) return {};
  return lastError();
}

}  // namespace Linux
