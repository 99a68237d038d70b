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
    candidate.monitor = monitors_.monitor(candidate.home.networkNamespace);
    candidate.listening = candidate.monitor->listen([this] { look(); });
    // Who may not open one is told so now, not when all links are known.
    const Linux::RawSocket tried(*candidate.monitor->where(), candidate.monitor->family());
  } catch (const std::system_error &error) {
    error_ = error;
  }
}

void VrfFinder::handleNamespace(Candidate &candidate, bool present) {
  candidate.listening.reset();
  candidate.monitor.reset();
  if (present) enter(candidate);
  look();
}

// A namespace that was found is held by found(), so what it has is asked of that one.
std::optional<FoundHome> VrfFinder::firstFound() const {
  std::optional<FoundHome> first;
  if (error_) return first;
  for (const Candidate &candidate : candidates_) {
    const auto found = findHome(candidate.home, candidate.monitor);
    if (found && found_ && found->monitor == found_->monitor && found->home == found_->home) return found;
    if (!first) first = found;
    const bool mayStillBeHere = candidate.monitor && !candidate.monitor->complete();
    if (mayStillBeHere && !first && !found_) return std::nullopt;
  }
  return first;
}

void VrfFinder::look() {
  const auto found = firstFound();
  if (found && found == found_) return;
  found_ = found;
  changed_();
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
