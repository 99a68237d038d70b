#include "platform/linux/RouteMessage.h"

#include <linux/rtnetlink.h>

#include "platform/linux/Attribute.h"

namespace Linux {

namespace {

// A gateway of the other family: the family (16 bits), then the address.
Pax::IpGenAddr viaAddress(const nlattr &attribute) {
  const auto bytes = content(attribute);
  return bytes.size() < sizeof(rtvia) ? Pax::IpGenAddr() : toAddress(bytes.subspan(sizeof(rtvia)));
}

// One path, whether it is the route's own or one of several.
void readGateway(uint16_t type, const nlattr &attribute, RouteMessage::Hop &hop) {
  if (type == RTA_GATEWAY) hop.gateway = toAddress(content(attribute));
  if (type == RTA_VIA) hop.gateway = viaAddress(attribute);
}

void readMultipath(std::span<const uint8_t> bytes, std::vector<RouteMessage::Hop> &hops) {
  while (bytes.size() >= sizeof(rtnexthop)) {
    const auto &path = *reinterpret_cast<const rtnexthop *>(bytes.data());
    if (path.rtnh_len < sizeof path || path.rtnh_len > bytes.size()) return;
    RouteMessage::Hop hop;
    hop.ifIndex = static_cast<uint32_t>(path.rtnh_ifindex);
    forEachAttribute(bytes.first(path.rtnh_len).subspan(sizeof path),
                     [&](uint16_t type, const nlattr &attribute) { readGateway(type, attribute, hop); });
    if (!(path.rtnh_flags & RTNH_F_DEAD)) hops.push_back(hop);
    bytes = bytes.subspan(std::min(bytes.size(), static_cast<size_t>(RTNH_ALIGN(path.rtnh_len))));
  }
}

}  // namespace

RouteMessage RouteMessage::parse(const nlmsghdr &message) {
  RouteMessage route;
  if (mnl_nlmsg_get_payload_len(&message) < sizeof(rtmsg)) return route;
  const auto &header = *static_cast<const rtmsg *>(mnl_nlmsg_get_payload(&message));
  route.type = header.rtm_type;
  route.table = header.rtm_table;
  Hop single;
  forEachAttribute(attributesAfter<rtmsg>(message), [&](uint16_t type, const nlattr &attribute) {
    if (type == RTA_TABLE) route.table = number(attribute);
    if (type == RTA_OIF) single.ifIndex = number(attribute);
    if (type == RTA_MULTIPATH) readMultipath(content(attribute), route.hop);
    if (type == RTA_NH_ID) route.isNextHopObject = true;
    readGateway(type, attribute, single);
  });
  if (route.hop.empty() && single.ifIndex != 0 && !(header.rtm_flags & RTNH_F_DEAD)) route.hop.push_back(single);
  return route;
}

}  // namespace Linux
