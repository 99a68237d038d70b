/// Network namespaces: the VRFs of the machine.
#pragma once

#include <string>

#include "platform/linux/Capabilities.h"
#include "platform/linux/Descriptor.h"

namespace Linux {

/// The path of the namespace of this name: /run/netns/NAME. A name with a slash is a path already.
std::string namespacePath(const std::string &name);

/// The inode of the namespace mounted at `path`, which identifies it while it exists; 0 when there is none (or not
/// yet: the file is made before the mount).
uint64_t namespaceInode(const std::string &path);

/// A network namespace held open, so that later sockets are in the same one even if another one has its name by then.
/// Its owner lets go of it when the name vanishes; else the namespace would live on.
class Namespace {
 public:
  /// An empty name is the namespace that the program runs in. Throws std::system_error when there is
  /// no such namespace or it may not be entered.
  explicit Namespace(const std::string &name);

  const std::string &name() const { return name_; }
  /// For traces: the name, or "own namespace".
  std::string text() const { return name_.empty() ? "own namespace" : "namespace " + name_; }
  bool isOwn() const { return !descriptor_; }

  /// Calls `open` inside the namespace and returns what it returns; comes back in any case, also
  /// when it throws. Not being able to come back is fatal.
  template <class Open>
  auto inside(const Open &open) const {
    const Visit visit(*this);
    return open();
  }

 private:
  class Visit {
   public:
    explicit Visit(const Namespace &where);
    ~Visit();

   private:
    const SystemAdministration mayEnter_;
    Descriptor home_;
  };

  std::string name_;
  Descriptor descriptor_;
};

}  // namespace Linux
