#include "platform/linux/RegularFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace Linux {

namespace {

constexpr mode_t ownerAndGroup = 0640;

std::runtime_error failure(int error) {
  return std::runtime_error(error == ELOOP ? "it is a symbolic link" : std::generic_category().message(error));
}

// A device or a queue may be opened, but not waited for.
Descriptor open(const std::string &path, int flags, mode_t mode = 0) {
  Descriptor file(::open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode));
  if (!file) throw failure(errno);
  return file;
}

struct stat regular(const Descriptor &file) {
  struct stat status {};
  if (::fstat(file.number(), &status) != 0) throw failure(errno);
  if (!S_ISREG(status.st_mode)) throw std::runtime_error("it is not a regular file");
  return status;
}

void makeDirectoryOf(const std::string &path) {
  const auto directory = std::filesystem::path(path).parent_path();
  std::error_code error;
  if (!directory.empty()) std::filesystem::create_directories(directory, error);
  if (error) throw std::runtime_error(error.message());
}

Descriptor makeAnew(const std::string &path) {
  constexpr int flags = O_WRONLY | O_CREAT | O_EXCL;
  ::unlink(path.c_str());  // what a run that was killed has left
  return open(path, flags, ownerAndGroup);
}

void writeAll(const Descriptor &file, const std::string &text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t written = ::write(file.number(), text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) throw failure(errno);
    if (written > 0) done += static_cast<size_t>(written);
  }
}

}  // namespace

std::string readRegularFile(const std::string &path, size_t most) {
  const Descriptor file = open(path, O_RDONLY);
  const auto tooLong = [most] {
    return std::runtime_error("it is longer than " + std::to_string(most >> 20) + " MiB");
  };
  const struct stat status = regular(file);
  if (static_cast<uint64_t>(status.st_size) > most) throw tooLong();
  std::string text;
  char piece[1 << 16];
  for (;;) {
    const ssize_t size = ::read(file.number(), piece, sizeof piece);
    if (size == 0) return text;
    if (size < 0 && errno != EINTR) throw failure(errno);
    if (size > 0) text.append(piece, static_cast<size_t>(size));
    if (text.size() > most) throw tooLong();  // it has grown
  }
}

void replaceRegularFile(const std::string &path, const std::string &text) {
  makeDirectoryOf(path);
  struct stat present {};
  if (::lstat(path.c_str(), &present) == 0 && !S_ISREG(present.st_mode)) {
    throw std::runtime_error("it is not a regular file");
  }
  const std::string fresh = path + ".new";
  const Descriptor file = makeAnew(fresh);
  try {
    if (::fchmod(file.number(), ownerAndGroup) != 0) throw failure(errno);
    writeAll(file, text);
    if (std::rename(fresh.c_str(), path.c_str()) != 0) throw failure(errno);
  } catch (const std::exception &) {
    ::unlink(fresh.c_str());
    throw;
  }
}

PathLock::PathLock(const std::string &path) {
  const std::string name = path + ".lock";
  try {
    makeDirectoryOf(name);
    Descriptor file = open(name, O_RDWR | O_CREAT, ownerAndGroup);
    regular(file);
    lock_ = std::move(file);
  } catch (const std::exception &error) {
    error_ = name + ": " + error.what();
    return;
  }
  if (::flock(lock_.number(), LOCK_EX | LOCK_NB) == 0) return;
  if (errno == EWOULDBLOCK) throw std::runtime_error(path + " is in use by another agent");
  error_ = name + ": " + lastError().message();
}

}  // namespace Linux
