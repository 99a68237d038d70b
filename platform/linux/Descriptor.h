/// Ownership of a file descriptor.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace Linux {

/// Closes on destruction; -1 is none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  int number() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }

 private:
  int number_ = -1;
};

/// The last failure of a system call.
inline std::error_code lastError() { return {errno, std::generic_category()}; }

/// The same as an exception, with what was tried.
inline std::system_error systemError(const std::string &tried) { return {errno, std::generic_category(), tried}; }

}  // namespace Linux
