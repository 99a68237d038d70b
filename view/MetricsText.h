/// The text formats in which monitoring systems read metrics.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/orb/DurationCounts.h"

namespace Routing::Pim::Bsr {

/// OpenMetrics 1.0, or the text format 0.0.4 of Prometheus, which came before it.
enum class MetricsFormat { openMetrics, prometheus };

/// Metrics of one name. Its samples have the name with what their type adds: "_total" or "_info"; those
/// of a histogram "_bucket", "_count" and "_sum".
struct MetricFamily {
  enum class Type { gauge, counter, info, histogram };
  const char *name;  ///< ends with the unit, if there is one
  Type type;
  const char *unit;  ///< "" for none
  const char *help;  ///< without line ends, '"' and '\'
};

/// Writes the lines of families one after the other: each begins once, with all its samples behind it.
class MetricsText {
 public:
  using Labels = std::vector<std::pair<const char *, std::string>>;

  explicit MetricsText(MetricsFormat format) : format_(format) {}

  void familyIs(const MetricFamily &family);
  /// Of the family that began last. Label values may have any bytes; what is not UTF-8 in them is replaced. One that is
  /// empty is left out, as if it was not there.
  void sample(const Labels &labels, uint64_t value) { line("", labels, std::to_string(value)); }
  void seconds(const Labels &labels, double value);
  /// All samples of the family.
  void histogram(const Orb::DurationCounts &durations);
  void end();

  /// What was written since it was last taken.
  std::string take() { return std::exchange(text_, {}); }
  bool empty() const { return text_.empty(); }

 private:
  void line(const char *suffix, const Labels &labels, const std::string &value);

  const MetricsFormat format_;
  std::string name_;  // of the samples
  std::string text_;
};

}  // namespace Routing::Pim::Bsr
