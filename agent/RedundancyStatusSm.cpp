#include "agent/RedundancyStatusSm.h"

#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Agent");

RedundancyStatusSm::RedundancyStatusSm(const Kiv::Ptr<const Redundancy::RedundancyStatus> &redundancyStatus,
                                       StandbyModeIs standbyModeIs)
    : standbyModeIs_(std::move(standbyModeIs)), kivRedundancyStatus_(*this, redundancyStatus) {
  handleRedundancyStatus();
}

void RedundancyStatusSm::handleRedundancyStatus() {
  TRACELET(trace, 9, __PRETTY_FUNCTION__);
  standbyModeIs_(kivRedundancyStatus_.notifier()->standby());
}

}  // namespace Routing::Pim::Bsr
