/// Files of the agent's own: read and replaced as a whole.
#pragma once

#include <string>

#include "platform/linux/Descriptor.h"

namespace Linux {

/// The contents of the file. A link is not followed, nothing but a regular file is read, and opening never waits.
/// Throws std::runtime_error, whose what() is the reason alone.
std::string readRegularFile(const std::string &path, size_t most);

/// Replaces the file, or makes it, with mode 0640: written under the name PATH.new, which nobody else may have made
/// meanwhile, and renamed; removed where that fails. A link is not followed, and nothing but a regular file is
/// replaced. Directories that are missing are made. Throws like readRegularFile.
void replaceRegularFile(const std::string &path, const std::string &text);

/// Says that a file or a socket is in use, through PATH.lock beside it, as long as this object lives. A process that
/// ends, however it ends, lets go of it. The lock stays as an empty file.
class PathLock {
 public:
  /// Throws std::runtime_error if another process has the lock. Where the lock cannot be made, nothing is locked:
  /// `error()` says why.
  explicit PathLock(const std::string &path);
  const std::string &error() const { return error_; }

 private:
  Descriptor lock_;
  std::string error_;
};

}  // namespace Linux
