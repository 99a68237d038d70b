/// A route netlink socket of one network namespace.
#pragma once

#include <libmnl/libmnl.h>

#include <cstdint>
#include <memory>
#include <span>

#include "platform/linux/Namespace.h"

namespace Linux {

/// Sends requests and reads answers and events; what they mean is up to its owner.
class NetlinkSocket {
 public:
  /// `flags` such as SOCK_NONBLOCK. Throws std::system_error.
  NetlinkSocket(const Namespace &where, int flags);

  int descriptor() const { return mnl_socket_get_fd(socket_.get()); }
  /// The socket's own address, which the kernel's answers carry.
  uint32_t port() const { return mnl_socket_get_portid(socket_.get()); }
  /// Joins a multicast group; throws std::system_error.
  void groupIs(int group) const;
  bool send(const nlmsghdr &message) const {
    return mnl_socket_sendto(socket_.get(), &message, message.nlmsg_len) >= 0;
  }
  /// Bytes of messages read, or -1 with errno.
  ssize_t receive(std::span<uint8_t> buffer) const {
    return mnl_socket_recvfrom(socket_.get(), buffer.data(), buffer.size());
  }
  /// Calls `handle` for each whole message in the bytes.
  template <class Handle>
  static void forEach(std::span<const uint8_t> bytes, const Handle &handle) {
    int rest = static_cast<int>(bytes.size());
    const auto *message = reinterpret_cast<const nlmsghdr *>(bytes.data());
    for (; mnl_nlmsg_ok(message, rest); message = mnl_nlmsg_next(message, &rest)) handle(*message);
  }

 private:
  struct Close {
    void operator()(mnl_socket *socket) const { mnl_socket_close(socket); }
  };
  std::unique_ptr<mnl_socket, Close> socket_;
};

}  // namespace Linux
