/// Where on this machine a VRF may be, and where it is.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "daemon/file/Configuration.h"
#include "platform/linux/NetlinkMonitor.h"

namespace Routing::Pim::Bsr {

/// A network namespace, or a vrf device in one.
struct VrfHome {
  std::string networkNamespace;  ///< a name under /run/netns or a path; empty: the one that the program starts in
  std::string device;            ///< the vrf device; empty: what belongs to none
  /// Without the device the VRF is not there. Else it then is the namespace without the members of its vrf devices.
  bool needsDevice = false;
  bool operator==(const VrfHome &) const = default;
};

/// Whether two names, or paths, are of one namespace.
bool isSameNamespace(const std::string &one, const std::string &other);

/// The homes in the order in which they are looked for: one for a VRF whose namespace or device is configured and for
/// "default"; else the namespace of the VRF's name and, where there is none, the vrf device of that name.
std::vector<VrfHome> homesOf(const L3::VrfName &vrf, const PimVrf &pim);

/// Whether the vrf device (empty: none) of the namespace is one of these homes.
bool isHome(const std::vector<VrfHome> &homes, const std::string &networkNamespace, const std::string &device);

/// What is missing of a home that is not there, such as "VRF device blue"; for an operator.
std::string awaitedIn(const VrfHome &home, bool namespaceExists);

/// Whether the namespace is there.
bool namespaceExists(const VrfHome &home);

/// A home that is there.
struct FoundHome {
  VrfHome home;
  std::shared_ptr<Linux::NetlinkMonitor> monitor;  ///< of the namespace; complete
  uint32_t device = 0;                             ///< the index of the vrf device; 0 for the namespace without
  bool operator==(const FoundHome &) const = default;

  /// The name of the vrf device; empty for the namespace without.
  std::string deviceName() const { return device == 0 ? "" : home.device; }
};

/// "VRF device blue" or "namespace blue".
std::string toText(const FoundHome &home);

/// Nothing while the monitor of the home's namespace does not know all links, or a device that is needed is away.
std::optional<FoundHome> findHome(const VrfHome &home, const std::shared_ptr<Linux::NetlinkMonitor> &monitor);

}  // namespace Routing::Pim::Bsr
