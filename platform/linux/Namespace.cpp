#include "platform/linux/Namespace.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include "platform/tracelet/Require.h"

namespace Linux {

namespace {

Descriptor openNamespace(const std::string &path) {
  Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!descriptor) throw systemError("network namespace " + path);
  return descriptor;
}

}  // namespace

std::string namespacePath(const std::string &name) {
  return name.find('/') == std::string::npos ? "/run/netns/" + name : name;
}

uint64_t namespaceInode(const std::string &path) {
  struct statfs filesystem {};
  struct stat file {};
  if (statfs(path.c_str(), &filesystem) != 0 || filesystem.f_type != NSFS_MAGIC) return 0;
  return stat(path.c_str(), &file) == 0 ? file.st_ino : 0;
}

Namespace::Namespace(const std::string &name) : name_(name) {
  if (name.empty()) return;
  descriptor_ = openNamespace(namespacePath(name));
  inside([] {});
}

Namespace::Visit::Visit(const Namespace &where) {
  if (where.isOwn()) return;
  home_ = openNamespace("/proc/thread-self/ns/net");
  if (setns(where.descriptor_.number(), CLONE_NEWNET) != 0) {
    throw systemError("entering network namespace " + where.name());
  }
}

Namespace::Visit::~Visit() {
  if (home_) REQUIRE_AS(setns(home_.number(), CLONE_NEWNET) == 0, "back in the own network namespace");
}

}  // namespace Linux
