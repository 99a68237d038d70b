/// The metrics of the running process.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "daemon/Answers.h"
#include "view/Metrics.h"

namespace Routing::Pim::Bsr {

/// Reads every VRF and then writes the text, a slice at a time. The process outlives it.
class MetricsReading {
 public:
  MetricsReading(const Answers::Process &process, MetricsFormat format);

  /// Does a slice, which may append lines. False at the end, where it appends none.
  bool goOn(std::string &text);

 private:
  bool readOn();

  const Answers::Process &process_;
  const MetricsFormat format_;
  std::vector<VrfFigures> vrfs_;
  size_t read_ = 0;  // of these
  std::optional<Metrics> metrics_;
  bool ended_ = false;
};

}  // namespace Routing::Pim::Bsr
