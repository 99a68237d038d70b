#include "daemon/file/Findings.h"

#include <algorithm>

namespace Routing::Pim::Bsr {

std::vector<std::string> firstOf(const std::vector<Finding> &findings, const std::string &file) {
  constexpr size_t most = 100;
  std::vector<std::string> lines;
  for (size_t i = 0; i < std::min(findings.size(), most); ++i) lines.push_back(toText(file, findings[i]));
  if (findings.size() > most) {
    lines.emplace_back("and ").append(std::to_string(findings.size() - most)).append(" more");
  }
  return lines;
}

std::string oneOf(const std::vector<Finding> &findings, const std::string &file, const std::string &kind) {
  if (findings.empty()) return "";
  std::string text = toText(file, findings.front());
  const size_t others = findings.size() - 1;
  if (others == 0) return text;
  text.append("; and ").append(std::to_string(others)).append(" more ").append(kind);
  return text.append(others == 1 ? "" : "s").append(", see 'pimbsrctl check'");
}

}  // namespace Routing::Pim::Bsr
