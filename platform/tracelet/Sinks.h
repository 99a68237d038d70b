/// The sinks that traces go to: a file, a ring in memory, and one for tests. Standard error is a matter of the system.
#pragma once

#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <string>

#include "platform/tracelet/Tracelet.h"

namespace Tracelet {

/// "2024-05-01 12:34:56.123456 PimBsrSm 4 text", in local time.
std::string stampedLine(std::string_view module, int level, std::string_view text);

/// Appends stamped lines to DIRECTORY/NAME.log and flushes after each. A file that has reached its limit is
/// renamed to NAME.log.1, in place of an earlier one, and a new file begins. When that one cannot be opened,
/// lines are lost; the agent goes on.
class FileSink : public Sink {
 public:
  static constexpr uint64_t defaultLimit = 32 << 20;  ///< bytes

  /// Throws std::system_error when the file cannot be opened.
  FileSink(const std::string &directory, std::string_view name, uint64_t limit = defaultLimit);
  void line(std::string_view module, int level, std::string_view text) override;

 private:
  struct Close {
    void operator()(std::FILE *file) const { std::fclose(file); }
  };
  bool open();

  const std::string path_;
  const uint64_t limit_;
  uint64_t bytes_ = 0;
  std::unique_ptr<std::FILE, Close> file_;
};

/// Keeps the last `most` stamped lines in memory, for the operator's `show log`.
class RingSink : public Sink {
 public:
  explicit RingSink(size_t most) : most_(most) {}
  void line(std::string_view module, int level, std::string_view text) override;
  /// Oldest first.
  const std::deque<std::string> &lines() const { return lines_; }

 private:
  const size_t most_;
  std::deque<std::string> lines_;
};

/// For tests: registers itself, sets every module to `level` while it lives, and keeps the bare texts, without
/// stamp and module. Its end sets every module back to the default level.
class CaptureSink : public Sink {
 public:
  explicit CaptureSink(int level = 9);
  ~CaptureSink() override { Registry::instance().levelIs("*", Registry::defaultLevel); }
  void line(std::string_view module, int level, std::string_view text) override;
  const std::vector<std::string> &lines() const { return lines_; }
  /// Whether any line contains the text.
  bool contains(std::string_view text) const { return count(text) > 0; }
  /// How many lines contain it.
  size_t count(std::string_view text) const;
  void clear() { lines_.clear(); }

 private:
  std::vector<std::string> lines_;
};

}  // namespace Tracelet
