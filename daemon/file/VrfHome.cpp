#include "daemon/file/VrfHome.h"

#include <algorithm>

#include "platform/linux/Namespace.h"

namespace Routing::Pim::Bsr {

std::vector<VrfHome> homesOf(const L3::VrfName &vrf, const PimVrf &pim) {
  const std::string &networkNamespace = pim.networkNamespace.text();
  if (vrf.text() == L3::defaultVrf) return {VrfHome()};
  if (!pim.device.empty()) return {{networkNamespace, pim.device, true}};
  if (!networkNamespace.empty()) return {{networkNamespace, vrf.text(), false}};
  return {{vrf.text(), vrf.text(), false}, {"", vrf.text(), true}};
}

bool isSameNamespace(const std::string &one, const std::string &other) {
  if (one.empty() || other.empty()) return one == other;
  return Linux::namespacePath(one) == Linux::namespacePath(other);
}

bool isHome(const std::vector<VrfHome> &homes, const std::string &networkNamespace, const std::string &device) {
  return std::any_of(homes.begin(), homes.end(), [&](const VrfHome &home) {
    const bool isDevice = device == home.device || (device.empty() && !home.needsDevice);
    return isDevice && isSameNamespace(home.networkNamespace, networkNamespace);
  });
}

std::string awaitedIn(const VrfHome &home, bool namespaceExists) {
  if (!namespaceExists) return "namespace " + home.networkNamespace;
  return "VRF device " + home.device + (home.networkNamespace.empty() ? "" : " in namespace " + home.networkNamespace);
}

bool namespaceExists(const VrfHome &home) {
  return home.networkNamespace.empty() || Linux::namespaceInode(Linux::namespacePath(home.networkNamespace)) != 0;
}

std::string toText(const FoundHome &home) {
  return home.device == 0 ? "namespace " + home.home.networkNamespace : "VRF device " + home.home.device;
}

std::optional<FoundHome> findHome(const VrfHome &home, const std::shared_ptr<Linux::NetlinkMonitor> &monitor) {
  if (!monitor || !monitor->complete()) return std::nullopt;
  const uint32_t device = monitor->vrfDevice(home.device);
  if (device == 0 && home.needsDevice) return std::nullopt;
  return FoundHome{home, monitor, device};
}

}  // namespace Routing::Pim::Bsr
