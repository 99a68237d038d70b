#include "daemon/MetricsReading.h"

#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace {

AgentFigures agentFigures(const Answers::Process &process) {
  return {process.agent.name(),
          !process.agent.standbyMode(),
          !process.loading.error.empty(),
          process.loop.longestTurn(),
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
  const auto pim = process_.configuration.pim.find(figures.vrf);
  if (pim == process_.configuration.pim.end() || !process_.system.statusColl->vrfStatus(figures.vrf)) return false;
  return figures.readOn(viewOf(process_.system, figures.vrf, process_.agent.containerSm(figures.vrf),
                               process_.loop.now(), pim->second.interfaces));
}

}  // namespace Routing::Pim::Bsr
