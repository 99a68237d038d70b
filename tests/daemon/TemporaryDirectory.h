#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace Test {

/// A directory of the test's own, gone with it.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    if (!::mkdtemp(path_.data())) throw std::runtime_error("no directory for the test");
  }
  ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
  TemporaryDirectory(const TemporaryDirectory &) = delete;
  TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
  const std::string &path() const { return path_; }

 private:
  std::string path_ = "/tmp/pimbsr-test.XXXXXX";
};

}  // namespace Test
