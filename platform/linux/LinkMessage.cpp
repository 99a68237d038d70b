#include "platform/linux/LinkMessage.h"

#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include "platform/linux/Attribute.h"

namespace Linux {

namespace {

// The kind of the device, and that of the one to which it is enslaved, stand a level down.
bool isVrf(const nlattr &linkInfo, uint16_t kind) {
  bool found = false;
  forEachAttribute(content(linkInfo), [&](uint16_t type, const nlattr &attribute) {
    if (type == kind) found = text(attribute) == "vrf";
  });
  return found;
}

bool isUsable(Pax::AddressFamily family, uint32_t flags) {
  constexpr uint32_t never = IFA_F_TENTATIVE | IFA_F_DADFAILED | IFA_F_DEPRECATED;
  // One bit has two names: a secondary IPv4 address, a temporary IPv6 address.
  return !(flags & never) && !(family == Pax::AddressFamily::ipv6 && flags & IFA_F_TEMPORARY);
}

}  // namespace

std::optional<LinkMessage> LinkMessage::parse(const nlmsghdr &message) {
  if (mnl_nlmsg_get_payload_len(&message) < sizeof(ifinfomsg)) return std::nullopt;
  const auto &header = *static_cast<const ifinfomsg *>(mnl_nlmsg_get_payload(&message));
  if (header.ifi_family != AF_UNSPEC || header.ifi_index <= 0) return std::nullopt;

  LinkMessage link;
  link.index = static_cast<uint32_t>(header.ifi_index);
  link.adminUp = header.ifi_flags & IFF_UP;
  link.up = link.adminUp && (header.ifi_flags & IFF_RUNNING);
  uint32_t master = 0;
  bool masterIsVrf = false;
  forEachAttribute(attributesAfter<ifinfomsg>(message), [&](uint16_t type, const nlattr &attribute) {
    if (type == IFLA_IFNAME) link.name = text(attribute);
    if (type == IFLA_MTU) link.mtu = number(attribute);
    if (type == IFLA_MASTER) master = number(attribute);
    if (type == IFLA_LINKINFO) {
      link.isVrfDevice = isVrf(attribute, IFLA_INFO_KIND);
      masterIsVrf = isVrf(attribute, IFLA_INFO_SLAVE_KIND);
    }
  });
  if (masterIsVrf) link.vrfDevice = master;
  if (link.isVrfDevice) link.vrfDevice = link.index;
  if (link.name.empty()) return std::nullopt;
  return link;
}

std::optional<AddressMessage> AddressMessage::parse(const nlmsghdr &message) {
  if (mnl_nlmsg_get_payload_len(&message) < sizeof(ifaddrmsg)) return std::nullopt;
  const auto &header = *static_cast<const ifaddrmsg *>(mnl_nlmsg_get_payload(&message));

  uint32_t flags = header.ifa_flags;
  Pax::IpGenAddr local, peer;
  forEachAttribute(attributesAfter<ifaddrmsg>(message), [&](uint16_t type, const nlattr &attribute) {
    if (type == IFA_LOCAL) local = toAddress(content(attribute));
    if (type == IFA_ADDRESS) peer = toAddress(content(attribute));
    if (type == IFA_FLAGS) flags = number(attribute);
  });
  // Without a peer both attributes are the same, or IPv6 leaves out the first.
  if (local.af() == Pax::AddressFamily::unknown) local = peer;
  if (peer.af() == Pax::AddressFamily::unknown) peer = local;
  if (local.isZero()) return std::nullopt;

  AddressMessage entry;
  entry.index = header.ifa_index;
  entry.address = local;
  entry.prefixLength = header.ifa_prefixlen;
  entry.info.subnet = Pax::IpGenPrefix(peer, header.ifa_prefixlen);
  entry.info.secondary = local.af() == Pax::AddressFamily::ipv4 && (flags & IFA_F_SECONDARY);
  entry.info.global = header.ifa_scope == RT_SCOPE_UNIVERSE;
  entry.info.usable = isUsable(local.af(), flags);
  return entry;
}

}  // namespace Linux
