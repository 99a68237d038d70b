#include "platform/linux/NetlinkMonitors.h"

namespace Linux {

std::shared_ptr<NetlinkMonitor> NetlinkMonitors::monitor(const std::string &networkNamespace) {
  std::erase_if(monitor_, [](const auto &entry) { return entry.second.expired(); });
  const std::string path = networkNamespace.empty() ? "" : namespacePath(networkNamespace);
  auto &known = monitor_[{path, path.empty() ? 0 : namespaceInode(path)}];
  if (const auto monitor = known.lock()) return monitor;
  const auto fresh =
      std::make_shared<NetlinkMonitor>(loop_, std::make_shared<const Namespace>(networkNamespace), family_);
  known = fresh;
  return fresh;
}

}  // namespace Linux
