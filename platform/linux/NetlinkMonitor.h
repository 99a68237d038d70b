/// Interfaces and addresses of a VRF, as the kernel reports them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ip/IntfStatus.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LinkMessage.h"
#include "platform/linux/LinkTable.h"
#include "platform/linux/NetlinkSocket.h"

namespace Linux {

/// The one writer of the interface status of a VRF and family, and of its LinkTable: from a dump of links, then one of
/// addresses, and the events that arrive meanwhile and ever after. When the socket overruns, or the kernel calls a dump
/// inconsistent, it asks for a new dump and removes what that no longer has.
///
/// An interface that goes first loses its addresses and `up`, then its element; a renamed one goes and comes, since
/// interfaces are known by name; so does one that was made again with another index.
class NetlinkMonitor {
 public:
  struct Parameters {
    std::string vrf;
    Pax::AddressFamily family;
    /// Called from the loop, once, after the first dump.
    std::function<void()> complete;
  };

  /// Opens its socket in `where` and asks for the dump. Throws std::system_error.
  NetlinkMonitor(EventLoop &loop, const Namespace &where, const Kiv::Ptr<Ip::AllIntfStatusDir> &interfaces,
                 const Kiv::Ptr<LinkTable> &links, Parameters parameters);

  bool complete() const { return complete_; }
  /// Whether the interface is enslaved to a vrf device, so that its packets are not this VRF's.
  bool inVrfDevice(const Pax::IntfId &intfId) const;
  /// Removes every interface, as if the kernel had; for a namespace that is gone.
  void retractAll();

 private:
  struct AddressEntry {
    AddressMessage message;
    bool seen = true;  // in the dump that is running
  };
  struct Link {
    Pax::IntfId intfId;
    Kiv::Ptr<Ip::IntfStatus> status;
    bool inVrfDevice = false;
    bool seen = true;                   // in the dump that is running
    std::vector<AddressEntry> address;  // in the order in which they came
  };
  enum class Dump { none, links, addresses };

  void read();
  void messageIs(const nlmsghdr &message);
  void dumpAgain();
  void dumpIs(Dump dump);
  void dumpDone();
  void removeUnseen();

  void linkIs(const LinkMessage &message);
  void linkDel(uint32_t index);
  Link &linkNamed(uint32_t index, const Pax::IntfId &intfId);
  void retract(Link &link);
  void addressIs(const AddressMessage &message);
  void addressDel(const AddressMessage &message);
  /// Brings the status of one address in line with the kernel's entries for it.
  void publish(Link &link, const Pax::IpGenAddr &address) const;

  const Parameters parameters_;
  const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces_;
  const Kiv::Ptr<LinkTable> links_;
  NetlinkSocket socket_;
  std::map<uint32_t, Link> link_;  // by index
  Dump dump_ = Dump::none;
  bool dumpAgain_ = false;  // events were lost since the running dump began
  bool complete_ = false;
  uint32_t sequence_ = 0;
  std::vector<uint8_t> buffer_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  std::optional<Watch> watch_;
};

}  // namespace Linux
