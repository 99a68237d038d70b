#include "view/MetricsText.h"

#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

namespace Routing::Pim::Bsr {

namespace {

struct Words {
  const char *type;
  const char *suffix;  // of a sample
  const char *plain;   // the type where there is only gauge and counter
};
constexpr std::array words{Words{"gauge", "", "gauge"}, Words{"counter", "_total", "counter"},
                           Words{"info", "_info", "gauge"}, Words{"histogram", "", "histogram"}};

std::string textOf(double seconds) { return nlohmann::json(std::round(seconds * 1e6) / 1e6).dump(); }

// Within quotation marks, in which JSON escapes what metrics escape, and bytes that none of them may have.
std::string quoted(const std::string &value) {
  return nlohmann::json(value).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

void MetricsText::familyIs(const MetricFamily &family) {
  const Words &type = words[static_cast<size_t>(family.type)];
  name_ = family.name + std::string(type.suffix);
  const bool isOpen = format_ == MetricsFormat::openMetrics;
  const std::string name = isOpen ? family.name : name_;
  text_.append("# TYPE ").append(name).append(" ").append(isOpen ? type.type : type.plain).append("\n");
  if (isOpen && *family.unit) text_.append("# UNIT ").append(name).append(" ").append(family.unit).append("\n");
  text_.append("# HELP ").append(name).append(" ").append(family.help).append("\n");
}

void MetricsText::seconds(const Labels &labels, double value) { line("", labels, textOf(value)); }

void MetricsText::histogram(const Orb::DurationCounts &durations) {
  uint64_t count = 0;
  for (size_t i = 0; i < durations.counts().size(); ++i) {
    count += durations.counts()[i];
    const bool isLast = i == durations.bounds.size();
    line("_bucket", {{"le", isLast ? "+Inf" : textOf(durations.bounds[i])}}, std::to_string(count));
  }
  line("_count", {}, std::to_string(count));
  line("_sum", {}, textOf(durations.sum()));
}

void MetricsText::line(const char *suffix, const Labels &labels, const std::string &value) {
  text_.append(name_).append(suffix);
  const char *separator = "{";
  for (const auto &[label, text] : labels) {
    if (text.empty()) continue;
    text_.append(separator).append(label).append("=").append(quoted(text));
    separator = ",";
  }
  text_.append(labels.empty() ? " " : "} ").append(value).append("\n");
}

void MetricsText::end() {
  if (format_ == MetricsFormat::openMetrics) text_ += "# EOF\n";
}

}  // namespace Routing::Pim::Bsr
