/// Tells of packets that a VRF refuses, without flooding the log.
#pragma once

#include <tuple>
#include <vector>

#include "platform/pim/PimStatus.h"
#include "view/Drops.h"
#include "view/Reporting.h"

namespace Routing::Pim::Bsr {

class BootstrapMessageSm;

/// Owned by the VRF's reporter, and told by the packet port. Every packet is counted in the drops. Of one neighbor and
/// reason the first is an event, and the others are summed up once a minute; so are first ones beyond `firstsMost` a
/// minute. After an hour without any, it is a first one again.
///
/// Whoever is no PIM neighbor where the packet arrived can invent sources and BSRs: all of them are counted as one, but
/// for candidate RPs, and neighbors do not share their limits.
///
/// A copy of a Bootstrap message that this router accepted or sent is an echo, as every loop in a network makes them:
/// it is only counted. Since copies may come before the message that is accepted, one that is not known yet is judged a
/// second later.
class RefusalReporter {
 public:
  static constexpr double patience = 1;      ///< seconds
  static constexpr double sumInterval = 60;  ///< seconds
  static constexpr double forgotten = 3600;  ///< seconds
  static constexpr size_t firstsMost = 10;
  static constexpr size_t waitingMost = 256;  ///< judged at once beyond
  static constexpr size_t toldMost = 1000;    ///< pairs of neighbor and reason that are remembered; others have half

  RefusalReporter(Reporting &reporting, const L3::VrfName &vrf, const Kiv::Ptr<const Pim::Status> &pimStatus,
                  const BootstrapMessageSm &gate, Drops &drops)
      : reporting_(reporting),
        vrf_(vrf),
        pimStatus_(pimStatus),
        gate_(gate),
        drops_(drops),
        judgeTimer_(reporting.wheel(), *this),
        sumTimer_(reporting.wheel(), *this) {}

  void refused(const IO::Refused &refused);

 private:
  struct Waiting {
    IO::Refused refused;
    double until;
  };
  struct Told {
    double last = 0;
    uint64_t more = 0;  ///< since the last sum
  };
  /// Who sent it, unset for strangers; the interface of these; why it was refused.
  using By = std::tuple<Pax::IpGenAddr, Pax::IntfId, IO::Refusal>;
  bool isEcho(const IO::Refused &refused) const;
  bool isFromNeighbor(const IO::Refused &refused) const;
  bool isFromStranger(const IO::Refused &refused) const;
  void judge();
  void count(const IO::Refused &refused, bool isEcho);
  void tell(const IO::Refused &refused);
  void tellFirst(const IO::Refused &refused);
  void sumUp();

  Reporting &reporting_;
  const L3::VrfName vrf_;
  const Kiv::Ptr<const Pim::Status> pimStatus_;
  const BootstrapMessageSm &gate_;
  Drops &drops_;
  std::vector<Waiting> waiting_;  // in the order in which they came
  std::map<By, Told> told_;
  size_t firstsOfNeighbors_ = 0, firstsOfOthers_ = 0;  // told since the last sum
  uint64_t others_ = 0;                                // neither told nor remembered, since then
  Orb::TimerFor<&RefusalReporter::judge> judgeTimer_;
  Orb::TimerFor<&RefusalReporter::sumUp> sumTimer_;
};

}  // namespace Routing::Pim::Bsr
