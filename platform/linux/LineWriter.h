/// Lines to a descriptor that others may not read.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Linux {

/// Writes lines and never waits: while the terminal, pipe or socket behind the descriptor takes no more, lines are
/// dropped, and how many is written as soon as it does again. The descriptor itself stays as it is, since other
/// processes may share it, and is not closed. Signals of a closed pipe are the program's to ignore.
class LineWriter {
 public:
  explicit LineWriter(int descriptor);
  ~LineWriter();
  LineWriter(const LineWriter &) = delete;
  LineWriter &operator=(const LineWriter &) = delete;

  /// The text is without end of line.
  void line(std::string_view text);
  uint64_t dropped() const { return dropped_; }

 private:
  bool flush();
  long write(std::string_view text) const;

  enum class Kind { plain, socket, own, polled };
  int descriptor_;
  Kind kind_ = Kind::plain;
  std::string rest_;  // of a line that was begun
  uint64_t dropped_ = 0;
  uint64_t told_ = 0;  // of those dropped
};

}  // namespace Linux
