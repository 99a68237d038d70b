/// Links and addresses of a network namespace, as the kernel reports them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/EventLoop.h"
#include "platform/linux/LinkMessage.h"
#include "platform/linux/NetlinkSocket.h"
#include "platform/orb/TimerFor.h"

namespace Linux {

class VrfLinks;

/// Knows the links of a namespace and their addresses of one family, and which vrf device each link belongs to; tells
/// each VRF of the namespace about its own (VrfLinks). It asks for a dump of links, then for one of addresses, and
/// follows the events that arrive meanwhile and ever after. When the socket overruns, or the kernel calls a dump
/// inconsistent, it asks for a new dump and removes what that no longer has.
///
/// All VRFs of the namespace share one (NetlinkMonitors), which holds the namespace open.
class NetlinkMonitor : public std::enable_shared_from_this<NetlinkMonitor> {
 public:
  /// Opens its socket in `where` and asks for the dump. Throws std::system_error.
  NetlinkMonitor(EventLoop &loop, const std::shared_ptr<const Namespace> &where, Pax::AddressFamily family);

  const std::shared_ptr<const Namespace> &where() const { return where_; }
  Pax::AddressFamily family() const { return family_; }
  /// All links and addresses were told once.
  bool complete() const { return complete_; }
  /// The index of the vrf device of this name; 0 where there is none.
  uint32_t vrfDevice(const std::string &name) const;
  /// Null where there is no link of this name.
  const LinkMessage *link(const std::string &name) const;
  /// The name of the vrf device that the link belongs to; empty for none.
  std::string vrfDeviceOf(const LinkMessage &link) const;

  using Changed = std::function<void()>;
  using Listening = std::shared_ptr<const Changed>;
  /// `changed` is called from the loop as long as what is returned is held: when complete() becomes true, and after vrf
  /// devices have come, gone or changed their names.
  [[nodiscard]] Listening listen(Changed changed);

 private:
  friend class VrfLinks;
  struct AddressEntry {
    AddressMessage message;
    bool seen = true;  // in the dump that is running
  };
  struct Link {
    LinkMessage message;
    bool seen = true;                   // in the dump that is running
    std::vector<AddressEntry> address;  // in the order in which they came
  };
  enum class Dump { none, links, addresses };

  void vrfIs(uint32_t device, VrfLinks &vrf);
  void vrfDel(const VrfLinks &vrf);

  void read();
  void readAll();
  void tellChanged();
  void messageIs(const nlmsghdr &message);
  void dumpAgain();
  void dumpIs(Dump dump);
  void dumpFailed(const char *what);
  void dumpDone();
  void removeUnseen();

  void linkIs(const LinkMessage &message);
  void linkDel(uint32_t index);
  void deviceDel(const LinkMessage &device);
  void addressIs(const AddressMessage &message);
  void addressDel(const AddressMessage &message);
  /// Calls `tell` with each VRF to which links of the vrf device belong.
  template <class Tell>
  void tellVrfs(uint32_t device, const Tell &tell) const;

  EventLoop &loop_;
  const std::shared_ptr<const Namespace> where_;
  const Pax::AddressFamily family_;
  NetlinkSocket socket_;
  std::map<uint32_t, Link> link_;             // by index
  std::map<std::string, uint32_t> device_;    // the vrf devices: index by name
  std::multimap<uint32_t, VrfLinks *> vrfs_;  // by the index of the vrf device; two while one takes over
  std::vector<std::weak_ptr<const Changed>> listening_;
  bool changed_ = false;  // which the listeners are still to be told
  Dump dump_ = Dump::none;
  bool dumpAgain_ = false;  // events were lost since the running dump began
  bool complete_ = false;
  Orb::TimerFor<&NetlinkMonitor::dumpAgain> retry_;
  uint32_t sequence_ = 0;
  std::vector<uint8_t> buffer_;
  std::optional<Watch> watch_;
};

}  // namespace Linux
