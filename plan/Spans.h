/// Times in which something is so.
#pragma once

#include <limits>
#include <vector>

namespace Planning {

struct Span {
  double from = 0;
  double to = 0;
  double length() const { return to - from; }
  bool operator==(const Span &) const = default;
};

/// One after the other, in seconds from the beginning. What is so for no time at all is left out, and what ends and
/// begins again at one time has not ended.
class Spans {
 public:
  static constexpr double open = std::numeric_limits<double>::infinity();

  /// Both do nothing where it is so, or is not, already. Times never go back behind the last end.
  void begin(double time);
  void end(double time);
  bool isOpen() const { return !spans_.empty() && spans_.back().to == open; }

  /// What of it is between two times.
  Spans within(double from, double to) const;
  double sum() const;
  /// The first of the longest; of length 0 if there is none.
  Span longest() const;
  const std::vector<Span> &all() const { return spans_; }
  /// Appends what is so in another one, none of which is before the end of this one.
  void append(const Spans &later);
  /// When it is not so between two times.
  Spans inverted(double from, double to) const;
  /// When this or the other is so.
  Spans joined(const Spans &other) const;

 private:
  std::vector<Span> spans_;
};

}  // namespace Planning
