/// What monitoring is told of an agent: the families of metrics and where their figures come from.
#pragma once

#include <string>
#include <vector>

#include "view/Figures.h"
#include "view/Json.h"
#include "view/MetricsText.h"

namespace Routing::Pim::Bsr {

/// Writes the text of an agent and its VRFs, a family of a VRF at a time.
class Metrics {
 public:
  Metrics(AgentFigures agent, std::vector<VrfFigures> vrfs, MetricsFormat format)
      : agent_(std::move(agent)), vrfs_(std::move(vrfs)), text_(format) {}

  /// Appends the next lines. True while there are more.
  bool writeOn(std::string &text);

  /// Every family, in the order of the text.
  static std::vector<MetricFamily> families();

 private:
  const AgentFigures agent_;
  const std::vector<VrfFigures> vrfs_;
  MetricsText text_;
  size_t family_ = 0;
  size_t vrf_ = 0;
};

/// Appends a row {line} for each line of text.
void addLines(const std::string &text, Rows &rows);
/// All rows of "show metrics" at once.
Rows metricsRows(const AgentFigures &agent, const std::vector<VrfView> &views);

}  // namespace Routing::Pim::Bsr
