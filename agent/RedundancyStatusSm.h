/// Whether this controller is the standby one.
#pragma once

#include <functional>

#include "platform/kiv/ReactorOf.h"
#include "platform/system/RedundancyStatus.h"

namespace Routing::Pim::Bsr {

/// Follows the redundancy status for the agent, which owns it. Says whether we stand by once inside its construction,
/// and then on every change of the status, whether or not the answer is a new one. Writes nothing.
class RedundancyStatusSm {
 public:
  using StandbyModeIs = std::function<void(bool standby)>;

  RedundancyStatusSm(const Kiv::Ptr<const Redundancy::RedundancyStatus> &redundancyStatus, StandbyModeIs standbyModeIs);

 private:
  class KivRedundancyStatus : public Kiv::ReactorOf<Redundancy::RedundancyStatus, RedundancyStatusSm> {
    using ReactorOf::ReactorOf;
    void onProtocol() override { owner_.handleRedundancyStatus(); }
    void onMode() override { owner_.handleRedundancyStatus(); }
  };

  void handleRedundancyStatus();

  const StandbyModeIs standbyModeIs_;
  KivRedundancyStatus kivRedundancyStatus_;
};

}  // namespace Routing::Pim::Bsr
