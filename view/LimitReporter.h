/// Tells when a VRF meets one of its limits, and when it no longer does.
#pragma once

#include <array>
#include <memory>

#include "platform/kiv/ReactorOf.h"
#include "platform/pim/PimStatus.h"
#include "view/Reporting.h"

namespace Routing::Pim::Bsr {

/// Owned by the VRF's reporter. A limit is met while something is refused because of it; it is left when nothing has
/// been for `quiet` seconds, which is longer than messages are apart.
class LimitReporter {
 public:
  static constexpr double quiet = 180;

  LimitReporter(Reporting &reporting, const Kiv::Ptr<const Status> &status,
                const Kiv::Ptr<const Pim::Status> &pimStatus);
  ~LimitReporter();

 private:
  class KivStatus;
  class KivCounters;
  class KivPimStatus;
  class KivPimIntf;

  /// What has a limit: its name, and for neighbors the interface.
  using Limited = std::pair<std::string, Pax::IntfId>;

  void handlePimIntf(const Pax::IntfId &intfId);
  void handleCounters();
  void refused(const Limited &limited, uint32_t most);
  void handleQuiet();

  Reporting &reporting_;
  const Kiv::Ptr<const Status> status_;
  const Kiv::Ptr<const Pim::Status> pimStatus_;
  PimBsrLimitCounters counters_;
  std::map<Limited, double> met_;  // with the time of the last refusal
  std::map<Pax::IntfId, std::unique_ptr<KivPimIntf>> pimIntf_;
  Orb::TimerFor<&LimitReporter::handleQuiet> timer_;
  std::unique_ptr<KivCounters> kivCounters_;
  std::unique_ptr<KivPimStatus> kivPimStatus_;
};

}  // namespace Routing::Pim::Bsr
