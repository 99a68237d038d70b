#include "platform/linux/NamespaceWatcher.h"

#include <sys/inotify.h>

#include <algorithm>
#include <array>
#include <vector>

#include "platform/linux/Namespace.h"
#include "platform/tracelet/Tracelet.h"

namespace Linux {

namespace {

Tracelet::Module trace("NetworkNamespace");

constexpr uint32_t namesChange = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF;

std::string directoryOf(const std::string &path) {
  const size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

// The file of a new namespace is made before the namespace is mounted on it, which no event tells.
bool isUnfinished(const std::string &path, uint64_t inode) { return inode == 0 && access(path.c_str(), F_OK) == 0; }

}  // namespace

NamespaceWatcher::NamespaceWatcher(EventLoop &loop)
    : loop_(loop),
      inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
      retry_(Kiv::make<Orb::TimerWheel>(loop, loop), *this) {
  if (!inotify_) throw systemError("inotify_init1");
  watch_.emplace(loop, inotify_.number(), [this] { read(); });
}

// A directory that does not exist yet (/run/netns before the first namespace) is waited for in its
// parent, for one event at a time: other things come and go in there too.
void NamespaceWatcher::watchDirectory(const std::string &directory) const {
  const auto watch = [this](const std::string &path, uint32_t more) {
    return inotify_add_watch(inotify_.number(), path.c_str(), namesChange | IN_ONLYDIR | more) >= 0;
  };
  for (std::string at = directory; !watch(directory, 0) && at != "/";) {
    at = directoryOf(at);
    if (watch(at, IN_ONESHOT) && watch(directory, 0)) return;
    if (access(at.c_str(), F_OK) == 0) return;
  }
}

void NamespaceWatcher::read() {
  alignas(inotify_event) std::array<char, 4096> events;
  while (::read(inotify_.number(), events.data(), events.size()) > 0) {
  }
  retries_ = 0;
  check();
}

// Names are few and events rare, so any event has every name looked at: what matters is which namespace
// has the name now, not what happened in between (which an overflow of the queue may hide).
void NamespaceWatcher::check() {
  const std::weak_ptr<bool> alive = alive_;
  bool unfinished = false;
  std::vector<Watched *> changed;
  for (const auto &[path, watched] : watched_) {
    watchDirectory(directoryOf(path));
    const uint64_t inode = namespaceInode(path);
    unfinished |= isUnfinished(path, inode);
    if (inode != watched->inode_) changed.push_back(watched);
  }
  if (unfinished) retryLater();
  for (Watched *watched : changed) {
    if (alive.expired()) return;
    if (isWatched(watched)) tell(*watched);
  }
}

bool NamespaceWatcher::isWatched(const Watched *wanted) const {
  return std::any_of(watched_.begin(), watched_.end(), [&](const auto &entry) { return entry.second == wanted; });
}

void NamespaceWatcher::tell(Watched &watched) {
  const std::weak_ptr<bool> alive = alive_;
  const uint64_t inode = namespaceInode(watched.path_);
  const Changed changed = watched.changed_;  // the call may destroy `watched`
  if (std::exchange(watched.inode_, inode) != 0) {
    TRACELET(trace, 3, "Network namespace " << watched.path_ << " is gone");
    changed(false);
    if (inode == 0 || alive.expired() || !isWatched(&watched)) return;
  }
  if (inode == 0) return;
  TRACELET(trace, 3, "Network namespace " << watched.path_ << " is there");
  changed(true);
}

void NamespaceWatcher::retryLater() {
  if (++retries_ > 100) return;
  retry_.timeMinIs(loop_.now() + 0.01 * retries_);
}

NamespaceWatcher::Watched::Watched(NamespaceWatcher &watcher, const std::string &name, Changed changed)
    : watcher_(watcher), path_(namespacePath(name)), changed_(std::move(changed)) {
  watcher.watchDirectory(directoryOf(path_));
  inode_ = namespaceInode(path_);
  if (isUnfinished(path_, inode_)) watcher.retryLater();
  watcher.watched_.emplace(path_, this);
}

NamespaceWatcher::Watched::~Watched() {
  std::erase_if(watcher_.watched_, [this](const auto &entry) { return entry.second == this; });
}

}  // namespace Linux
