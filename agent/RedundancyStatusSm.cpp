#include "agent/RedundancyStatusSm.h"

namespace Routing::Pim::Bsr {

RedundancyStatusSm::RedundancyStatusSm(const Kiv::Ptr<const Redundancy::RedundancyStatus> &redundancyStatus,
                                       StandbyModeIs standbyModeIs)
    : redundancyStatus_(redundancyStatus), standbyModeIs_(std::move(standbyModeIs)), kivRedundancyStatus_(*this) {
  handleRedundancyStatus();
}

/// A router without a second controller, or whose second one takes over from nothing, has no standby agents.
void RedundancyStatusSm::handleRedundancyStatus() {
  standbyModeIs_(redundancyStatus_->protocol() == Redundancy::Protocol::hotStandby &&
                 redundancyStatus_->mode() != Redundancy::ControllerMode::active);
}

}  // namespace Routing::Pim::Bsr
