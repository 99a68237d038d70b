#include "platform/linux/NetlinkSocket.h"

namespace Linux {

NetlinkSocket::NetlinkSocket(const Namespace &where, int flags) {
  socket_.reset(where.inside([&] { return mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | flags); }));
  if (!socket_) throw systemError("netlink socket");
  if (mnl_socket_bind(socket_.get(), 0, MNL_SOCKET_AUTOPID) < 0) throw systemError("binding a netlink socket");
}

void NetlinkSocket::groupIs(int group) const {
  if (mnl_socket_setsockopt(socket_.get(), NETLINK_ADD_MEMBERSHIP, &group, sizeof group) < 0) {
    throw systemError("netlink group " + std::to_string(group));
  }
}

}  // namespace Linux
