#include "agent/RedundancyStatusSm.h"

namespace Routing::Pim::Bsr {

RedundancyStatusSm::RedundancyStatusSm(const Kiv::Ptr<const Redundancy::RedundancyStatus> &redundancyStatus,
                                       StandbyModeIs standbyModeIs)
    : redundancyStatus_(redundancyStatus), standbyModeIs_(std::move(standbyModeIs)), kivRedundancyStatus_(*this) {
  handleRedundancyStatus();
}

// Only a pair that keeps state on both controllers has standby agents.
void RedundancyStatusSm::handleRedundancyStatus() {
  standbyModeIs_(redundancyStatus_->protocol() == Redundancy::Protocol::hotStandby &&
                 redundancyStatus_->mode() != Redundancy::ControllerMode::active);
}

}  // namespace Routing::Pim::Bsr
