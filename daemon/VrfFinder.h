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
  /// `changed` is called from the loop, never from here, when found(), error() or awaited() may be another.
  VrfFinder(Linux::NamespaceWatcher &watcher, Linux::NetlinkMonitors &monitors, const std::vector<VrfHome> &homes,
            std::function<void()> changed);

  const std::optional<FoundHome> &found() const { return found_; }
  /// What the operating system refused while nothing is found; only another finder tries that again.
  std::optional<std::system_error> error() const;
  /// What it waits for while nothing is found, such as "namespace blue"; for an operator.
  std::string awaited() const;

 private:
  struct Candidate {
    VrfHome home;
    std::optional<Linux::NamespaceWatcher::Watched> watched;
    std::shared_ptr<Linux::NetlinkMonitor> monitor;  // null while the namespace is away
    Linux::NetlinkMonitor::Listening listening;
    std::optional<std::system_error> error;  // of entering it
  };

  void enter(Candidate &candidate);
  void handleNamespace(Candidate &candidate, bool present);
  void look();
  std::optional<FoundHome> firstFound() const;

  Linux::NetlinkMonitors &monitors_;
  const std::function<void()> changed_;
  std::vector<Candidate> candidates_;
  std::optional<FoundHome> found_;
};

}  // namespace Routing::Pim::Bsr
