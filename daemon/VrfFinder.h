/// Finds a VRF on this machine, and follows it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "daemon/file/VrfHome.h"
#include "platform/linux/NamespaceWatcher.h"
#include "platform/linux/NetlinkMonitors.h"

namespace Routing::Pim::Bsr {

/// Looks for a VRF in its homes, in their order, for as long as it lives. A VRF that was found stays there until its
/// namespace or its vrf device goes, even if an earlier home appears; but a namespace in which the VRF's device appears
/// is left for that.
class VrfFinder {
 public:
  /// `changed` is called from the loop, never from here, when found() or error() is another; it may destroy this
  /// object.
  VrfFinder(Linux::NamespaceWatcher &watcher, Linux::NetlinkMonitors &monitors, const std::vector<VrfHome> &homes,
            std::function<void()> changed);

  const std::optional<FoundHome> &found() const { return found_; }
  /// What the operating system refused; then nothing is found, and only another finder tries again.
  const std::optional<std::system_error> &error() const { return error_; }
  /// What it waits for while nothing is found, such as "namespace blue"; for an operator.
  std::string awaited() const;

 private:
  struct Candidate {
    VrfHome home;
    std::optional<Linux::NamespaceWatcher::Watched> watched;
    std::shared_ptr<Linux::NetlinkMonitor> monitor;  // null while the namespace is away
    Linux::NetlinkMonitor::Listening listening;
  };

  void enter(Candidate &candidate);
  void handleNamespace(Candidate &candidate, bool present);
  void look();
  std::optional<FoundHome> firstFound() const;

  Linux::NetlinkMonitors &monitors_;
  const std::function<void()> changed_;
  std::vector<Candidate> candidates_;
  std::optional<FoundHome> found_;
  std::optional<std::system_error> error_;
};

}  // namespace Routing::Pim::Bsr
