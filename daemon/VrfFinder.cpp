#include "daemon/VrfFinder.h"

#include "platform/linux/RawSocket.h"

namespace Routing::Pim::Bsr {

VrfFinder::VrfFinder(Linux::NamespaceWatcher &watcher, Linux::NetlinkMonitors &monitors,
                     const std::vector<VrfHome> &homes, std::function<void()> changed)
    : monitors_(monitors), changed_(std::move(changed)), candidates_(homes.size()) {
  for (size_t i = 0; i < homes.size(); ++i) {
    Candidate &candidate = candidates_[i];
    candidate.home = homes[i];
    if (!candidate.home.networkNamespace.empty()) {
      candidate.watched.emplace(watcher, candidate.home.networkNamespace,
                                [this, &candidate](bool present) { handleNamespace(candidate, present); });
    }
    if (!candidate.watched || candidate.watched->present()) enter(candidate);
  }
  found_ = firstFound();
}

void VrfFinder::enter(Candidate &candidate) {
  try {
    const auto monitor = monitors_.monitor(candidate.home.networkNamespace);
    // Who may not open one is told so now, not when all links are known.
    const Linux::RawSocket tried(*monitor->where(), monitor->family());
    candidate.monitor = monitor;
    candidate.listening = monitor->listen([this] { look(); });
  } catch (const std::system_error &error) {
    candidate.error = error;
  }
}

void VrfFinder::handleNamespace(Candidate &candidate, bool present) {
  candidate.listening.reset();
  candidate.monitor.reset();
  candidate.error.reset();
  if (present) enter(candidate);
  look();
}

// Where it was found before it stays, though the device there may be another one by now.
std::optional<FoundHome> VrfFinder::firstFound() const {
  std::optional<FoundHome> first;
  for (const Candidate &candidate : candidates_) {
    const auto found = findHome(candidate.home, candidate.monitor);
    if (found && found_ && found->monitor == found_->monitor && found->home == found_->home) return found;
    if (!first) first = found;
    const bool mayBeHere = candidate.error || (candidate.monitor && !candidate.monitor->complete());
    if (mayBeHere && !first && !found_) return std::nullopt;
  }
  return first;
}

void VrfFinder::look() {
  const auto found = firstFound();
  if (found && found == found_) return;
  found_ = found;
  changed_();
}

std::optional<std::system_error> VrfFinder::error() const {
  for (const Candidate &candidate : candidates_) {
    if (candidate.error && !found_) return candidate.error;
  }
  return std::nullopt;
}

std::string VrfFinder::awaited() const {
  std::string awaited;
  for (const Candidate &candidate : candidates_) {
    if (candidate.monitor && !candidate.monitor->complete()) return "interfaces and addresses";
    awaited += (awaited.empty() ? "" : " or ") + awaitedIn(candidate.home, candidate.monitor != nullptr);
  }
  return awaited;
}

}  // namespace Routing::Pim::Bsr
