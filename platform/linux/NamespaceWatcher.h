/// Named network namespaces, as they come and go.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/Descriptor.h"
#include "platform/linux/EventLoop.h"
#include "platform/orb/TimerFor.h"

namespace Linux {

/// The process owns one. A namespace that is deleted lives on while a socket is open in it, so its name is
/// what is watched. A name that another namespace takes over vanishes and appears.
class NamespaceWatcher {
 public:
  /// Throws std::system_error when the kernel grants no inotify descriptor.
  explicit NamespaceWatcher(EventLoop &loop);

  using Changed = std::function<void(bool present)>;

  /// One name that is watched for as long as this object lives. `changed` is called from the loop,
  /// never from the constructor, and may destroy this object.
  class Watched {
   public:
    Watched(NamespaceWatcher &watcher, const std::string &name, Changed changed);
    ~Watched();
    Watched(const Watched &) = delete;
    Watched &operator=(const Watched &) = delete;
    bool present() const { return inode_ != 0; }

   private:
    friend class NamespaceWatcher;
    NamespaceWatcher &watcher_;
    const std::string path_;
    const Changed changed_;
    uint64_t inode_;
  };

 private:
  void watchDirectory(const std::string &directory) const;
  void read();
  void check();
  void tell(Watched &watched);
  bool isWatched(const Watched *wanted) const;
  void retryLater();

  const EventLoop &loop_;
  const Descriptor inotify_;
  std::optional<Watch> watch_;
  Orb::TimerFor<&NamespaceWatcher::check> retry_;
  int retries_ = 0;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  std::multimap<std::string, Watched *> watched_;  // by path
};

}  // namespace Linux
