#include "daemon/MetricsReading.h"

#include "daemon/KnownNames.h"
#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace {

AgentFigures agentFigures(const Answers::Process &process) {
  return {process.agent.name(),
          !process.agent.standbyMode(),
          !process.loading.error.empty(),
          process.loop.turns(),
          Tracelet::Registry::instance().dropped(),
          process.saves,
          process.events.counts()};
}

}  // namespace

MetricsReading::MetricsReading(const Answers::Process &process, MetricsFormat format)
    : process_(process), format_(format) {
  for (const auto &[vrf, host] : process.hosts) vrfs_.emplace_back(vrf);
}

bool MetricsReading::goOn(std::string &text) {
  if (ended_) return false;
  if (!metrics_ && read_ < vrfs_.size()) {
    if (!readOn()) ++read_;
    return true;
  }
  if (!metrics_) metrics_.emplace(agentFigures(process_), std::move(vrfs_), format_);
  ended_ = !metrics_->writeOn(text);
  return true;
}

// False when nothing is left of the VRF, which may have gone.
bool MetricsReading::readOn() {
  VrfFigures &figures = vrfs_[read_];
  const auto view = viewOf(process_, figures.vrf);
  return view && figures.readOn(*view);
}

}  // namespace Routing::Pim::Bsr
