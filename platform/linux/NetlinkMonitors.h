/// The netlink monitors of a process.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "platform/linux/NetlinkMonitor.h"

namespace Linux {

/// The monitors of one process and family, one for each namespace that is in use.
class NetlinkMonitors {
 public:
  NetlinkMonitors(EventLoop &loop, Pax::AddressFamily family) : loop_(loop), family_(family) {}

  /// The monitor of the namespace that has the name now, for as long as anybody holds it; an empty name is the
  /// namespace that the program runs in. Throws std::system_error where there is none or it may not be entered.
  std::shared_ptr<NetlinkMonitor> monitor(const std::string &networkNamespace);

 private:
  EventLoop &loop_;
  const Pax::AddressFamily family_;
  std::map<std::pair<std::string, uint64_t>, std::weak_ptr<NetlinkMonitor>> monitor_;  // by path and inode
};

}  // namespace Linux
