#include "platform/linux/KernelRouteLookup.h"

#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>

#include "platform/linux/RouteMessage.h"
#include "platform/tracelet/Tracelet.h"

namespace Linux {

namespace {

Tracelet::Module trace("RouteLookup");

constexpr size_t answerBuffer = 16384;  // hundreds of equal paths
constexpr timeval patience{0, 500000};

}  // namespace

KernelRouteLookup::KernelRouteLookup(const Namespace &where, uint32_t vrfDevice, const Kiv::Ptr<const LinkTable> &links,
                                     const Kiv::Ptr<const Ip::AllIntfStatusDir> &interfaces)
    : vrfDevice_(vrfDevice),
      links_(links),
      interfaces_(interfaces),
      socket_(std::in_place, where, 0),
      buffer_(answerBuffer) {
  setsockopt(socket_->descriptor(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
}

const Routing::RouteAnswer &KernelRouteLookup::lookup(const Pax::IpGenAddr &destination) {
  answer_ = find(destination);
  return answer_;
}

Routing::RouteAnswer KernelRouteLookup::find(const Pax::IpGenAddr &destination) {
  if (!socket_ || destination.isZero() || destination.isMulticast()) return {};
  // The matching route instead of the path that would be taken: so all equal paths are seen.
  const nlmsghdr *message = ask(destination, RTM_F_FIB_MATCH);
  if (!message) return {};
  RouteMessage route = RouteMessage::parse(*message);
  if (route.hop.empty() && route.isNextHopObject) {
    // Where net.ipv4.nexthop_compat_mode is off, only the path that would be taken is told in full.
    message = ask(destination, 0);
    if (!message) return {};
    route = RouteMessage::parse(*message);
  }
  return answerFrom(route, destination);
}

Routing::RouteAnswer KernelRouteLookup::answerFrom(const RouteMessage &route, const Pax::IpGenAddr &destination) const {
  using Kind = Routing::RouteAnswer::Kind;
  // The rule of the local table comes first by default, and hides the same address in the vrf device's network.
  if (vrfDevice_ != 0 && route.table == RT_TABLE_LOCAL) return {};
  if (route.type == RTN_LOCAL || route.type == RTN_ANYCAST) return {Kind::local, {}};
  if (route.type != RTN_UNICAST) return {};
  Routing::RouteAnswer answer;
  for (const RouteMessage::Hop &hop : route.hop) {
    const Pax::IntfId *intfId = links_->intfId(hop.ifIndex);
    if (!intfId) continue;
    if (hop.gateway.isZero() && isInSubnet(*intfId, destination)) return {Kind::connected, {{*intfId, {}}}};
    answer.via.push_back({*intfId, hop.gateway});
  }
  if (!answer.via.empty()) answer.kind = Kind::via;
  return answer;
}

bool KernelRouteLookup::isInSubnet(const Pax::IntfId &intfId, const Pax::IpGenAddr &destination) const {
  const Kiv::Ptr<const Ip::IntfStatus> intf = interfaces_->intfStatus(intfId);
  if (!intf) return false;
  for (const auto &[address, info] : intf->address()) {
    if (info.subnet.covers(Pax::IpGenPrefix::host(destination))) return true;
  }
  return false;
}

const nlmsghdr *KernelRouteLookup::ask(const Pax::IpGenAddr &destination, uint32_t flags) {
  const bool isV4 = destination.af() == Pax::AddressFamily::ipv4;
  alignas(nlmsghdr) std::array<uint8_t, 128> bytes{};
  nlmsghdr &request = *mnl_nlmsg_put_header(bytes.data());
  request.nlmsg_type = RTM_GETROUTE;
  request.nlmsg_flags = NLM_F_REQUEST;
  request.nlmsg_seq = ++sequence_;
  auto *header = static_cast<rtmsg *>(mnl_nlmsg_put_extra_header(&request, sizeof(rtmsg)));
  header->rtm_family = isV4 ? AF_INET : AF_INET6;
  header->rtm_dst_len = Pax::addressBits(destination.af());
  header->rtm_flags = flags;
  mnl_attr_put(&request, RTA_DST, isV4 ? 4 : 16, destination.bytes().data());
  if (vrfDevice_ != 0) mnl_attr_put_u32(&request, RTA_OIF, vrfDevice_);
  if (socket_->send(request)) return answer();
  TRACELET(trace, 1, "Cannot ask for a route to " << destination << ": " << lastError().message());
  return nullptr;
}

const nlmsghdr *KernelRouteLookup::answer() {
  for (;;) {
    const ssize_t size = socket_->receive(buffer_);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) {
      TRACELET(trace, 1, "No answer about a route: " << lastError().message());
      return nullptr;
    }
    // An answer that came too late for its question is of an earlier sequence.
    const auto *message = reinterpret_cast<const nlmsghdr *>(buffer_.data());
    if (!mnl_nlmsg_ok(message, static_cast<int>(size)) || message->nlmsg_seq != sequence_) continue;
    return message->nlmsg_type == RTM_NEWROUTE ? message : nullptr;
  }
}

}  // namespace Linux
