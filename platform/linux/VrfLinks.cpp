#include "platform/linux/VrfLinks.h"

#include <algorithm>

#include "platform/tracelet/Tracelet.h"

namespace Linux {

static Tracelet::Module trace("Netlink");

VrfLinks::VrfLinks(const std::shared_ptr<NetlinkMonitor> &monitor, uint32_t device, std::string vrf,
                   const Kiv::Ptr<Ip::AllIntfStatusDir> &interfaces, const Kiv::Ptr<LinkTable> &links)
    : monitor_(monitor), vrf_(std::move(vrf)), interfaces_(interfaces), links_(links) {
  monitor_->vrfIs(device, *this);
}

VrfLinks::~VrfLinks() { monitor_->vrfDel(*this); }

void VrfLinks::linkIs(const LinkMessage &message, const Addresses &addresses) {
  const Kiv::Ptr<Ip::IntfStatus> status = linkNamed(message.index, Pax::IntfId(vrf_, message.name), addresses).status;
  status->mtuIs(message.mtu);
  // PIM first: what a candidate sends when its address goes must not go out of an interface that is down.
  status->upIs(message.up);
  status->adminUpIs(message.adminUp);
  Ip::chooseAddresses(*status, monitor_->family());
}

void VrfLinks::linkDel(uint32_t index) {
  const auto found = link_.find(index);
  if (found == link_.end()) return;
  const Link link = found->second;
  link.status->addressDelAll();
  Ip::chooseAddresses(*link.status, monitor_->family());
  link.status->upIs(false);
  link.status->adminUpIs(false);
  TRACELET(trace, 5, link.intfId << " is gone");
  interfaces_->intfStatusDel(link.intfId);
  link_.erase(index);
  links_->linkDel(index);
}

VrfLinks::Link &VrfLinks::linkNamed(uint32_t index, const Pax::IntfId &intfId, const Addresses &addresses) {
  // The interface that had the name is gone or renamed; its own message will say which.
  if (const uint32_t other = links_->index(intfId); other != 0 && other != index) linkDel(other);

  if (const auto found = link_.find(index); found != link_.end()) {
    if (found->second.intfId == intfId) return found->second;
    TRACELET(trace, 4, found->second.intfId << " is now " << intfId);
    linkDel(index);
  }
  TRACELET(trace, 5, intfId << " has index " << index);
  links_->linkIs(index, intfId);
  Link &link = link_[index];
  link = {intfId, interfaces_->intfStatusIs(intfId)};
  for (const auto &entry : addresses) publish(link, entry.message.address, addresses);
  return link;
}

void VrfLinks::addressIs(uint32_t index, const Pax::IpGenAddr &address, const Addresses &addresses) {
  if (const auto found = link_.find(index); found != link_.end()) publish(found->second, address, addresses);
}

// The kernel may hold an address twice, with two prefix lengths.
void VrfLinks::publish(const Link &link, const Pax::IpGenAddr &address, const Addresses &addresses) const {
  const Kiv::Ptr<Ip::IntfStatus> status = link.status;
  const auto entry = std::find_if(addresses.begin(), addresses.end(),
                                  [&](const auto &present) { return present.message.address == address; });
  if (entry == addresses.end()) {
    TRACELET(trace, 5, link.intfId << " loses " << address);
    status->addressDel(address);
  } else {
    TRACELET(trace, 5, link.intfId << " has " << address);
    status->addressIs(address, entry->message.info);
  }
  Ip::chooseAddresses(*status, monitor_->family());
}

}  // namespace Linux
