/// The sinks that traces go to.
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

/// Appends stamped lines to DIRECTORY/NAME.log, each at once. A file that has outgrown its limit
/// becomes NAME.log.1 (in place of an earlier one) and a new one begins.
class FileSink : public Sink {
 public:
  static constexpr uint64_t defaultLimit = 32 << 20;

  /// Throws std::system_error when the file cannot be opened.
  FileSink(const std::string &directory, std::string_view name, uint64_t limit = defaultLimit);
  void line(std::string_view module, int level, std::string_view text) override;
  void flush() override;

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

/// Stamped lines to standard error.
class StderrSink : public Sink {
 public:
  void line(std::string_view module, int level, std::string_view text) override;
};

/// Keeps the last stamped lines.
class RingSink : public Sink {
 public:
  explicit RingSink(size_t most) : most_(most) {}
  void line(std::string_view module, int level, std::string_view text) override;
  const std::deque<std::string> &lines() const { return lines_; }

 private:
  const size_t most_;
  std::deque<std::string> lines_;
};

/// For tests: registers itself, sets every module to a level while it lives, and keeps the bare texts.
class CaptureSink : public Sink {
 public:
  explicit CaptureSink(int level = 9);
  ~CaptureSink() override;
  void line(std::string_view module, int level, std::string_view text) override;
  const std::vector<std::string> &lines() const { return lines_; }
  /// Whether some line contains the text.
  bool contains(std::string_view text) const { return count(text) > 0; }
  /// How many lines do.
  size_t count(std::string_view text) const;
  void clear() { lines_.clear(); }

 private:
  std::vector<std::string> lines_;
};

/// Sets tracing up from the environment and returns the sink in use, registered. TRACELET_DISABLE
/// (set to anything) turns every statement off and gives none; otherwise lines go to NAME.log in
/// TRACELETDIR, or to standard error when that is not set or cannot be written.
std::unique_ptr<Sink> sinkFromEnvironment(std::string_view name);

}  // namespace Tracelet
