/// Interfaces and addresses of a VRF.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/ip/IntfStatus.h"
#include "platform/linux/LinkTable.h"
#include "platform/linux/NetlinkMonitor.h"

namespace Linux {

/// The one writer of the interface status of a VRF and family, and of its LinkTable, as the monitor of the namespace
/// tells it: of a vrf device with its members, or of the links that belong to no vrf device.
///
/// An interface that goes first loses its addresses and `up`, then its element; a renamed one goes and comes, since
/// interfaces are known by name; so does one that was made again with another index. One that moves to another vrf
/// device goes in one VRF and comes in the other.
class VrfLinks {
 public:
  /// `device` is the index of the vrf device; 0 for what belongs to none. What the monitor knows is there at once.
  VrfLinks(const std::shared_ptr<NetlinkMonitor> &monitor, uint32_t device, std::string vrf,
           const Kiv::Ptr<Ip::AllIntfStatusDir> &interfaces, const Kiv::Ptr<LinkTable> &links);
  /// Leaves the status as it is.
  ~VrfLinks();
  VrfLinks(const VrfLinks &) = delete;
  VrfLinks &operator=(const VrfLinks &) = delete;

 private:
  friend class NetlinkMonitor;
  using Addresses = std::vector<NetlinkMonitor::AddressEntry>;
  struct Link {
    Pax::IntfId intfId;
    Kiv::Ptr<Ip::IntfStatus> status;
  };

  void linkIs(const LinkMessage &message, const Addresses &addresses);
  void linkDel(uint32_t index);
  /// Brings the status of one address in line with the kernel's entries for it.
  void addressIs(uint32_t index, const Pax::IpGenAddr &address, const Addresses &addresses);

  Link &linkNamed(uint32_t index, const Pax::IntfId &intfId, const Addresses &addresses);
  void publish(const Link &link, const Pax::IpGenAddr &address, const Addresses &addresses) const;

  const std::shared_ptr<NetlinkMonitor> monitor_;
  const std::string vrf_;
  const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces_;
  const Kiv::Ptr<LinkTable> links_;
  std::map<uint32_t, Link> link_;  // by index
};

}  // namespace Linux
