/// Finds out whether this controller is the standby one.
#pragma once

#include <functional>

#include "platform/system/RedundancyStatus.h"

namespace Routing::Pim::Bsr {

/// Follows the redundancy status. Tells whether we are standby once inside its construction, and
/// then on every change of the status, whether or not the answer is a new one.
class RedundancyStatusSm {
 public:
  using StandbyModeIs = std::function<void(bool standby)>;

  RedundancyStatusSm(const Kiv::Ptr<const Redundancy::RedundancyStatus> &redundancyStatus, StandbyModeIs standbyModeIs);
  RedundancyStatusSm(const RedundancyStatusSm &) = delete;
  RedundancyStatusSm &operator=(const RedundancyStatusSm &) = delete;

 private:
  class KivRedundancyStatus : public Redundancy::RedundancyStatus::Notifiee {
   public:
    explicit KivRedundancyStatus(RedundancyStatusSm &sm) : sm_(sm) { notifierIs(sm.redundancyStatus_); }
    void onProtocol() override { sm_.handleRedundancyStatus(); }
    void onMode() override { sm_.handleRedundancyStatus(); }

   private:
    RedundancyStatusSm &sm_;
  };

  void handleRedundancyStatus();

  const Kiv::Ptr<const Redundancy::RedundancyStatus> redundancyStatus_;
  const StandbyModeIs standbyModeIs_;
  KivRedundancyStatus kivRedundancyStatus_;
};

}  // namespace Routing::Pim::Bsr
