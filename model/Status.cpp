#include "model/Status.h"

#include <ostream>

namespace Routing::Pim::Bsr {

std::ostream &operator<<(std::ostream &out, const PimBsrErrorCounters &counters) {
  return out << "denied=" << counters.deniedError << " deniedCrpAdv=" << counters.deniedCrpAdv
             << " rpf=" << counters.rpfError << " noFwdBsm=" << counters.noFwdBsmError
             << " unicastBsm=" << counters.unicastBsmError << " notBsr=" << counters.notBsrError
             << " unknownDest=" << counters.unknownDestError;
}

std::ostream &operator<<(std::ostream &out, const PimBsrLimitCounters &counters) {
  return out << "rps=" << counters.rps << " zones=" << counters.zones << " ranges=" << counters.ranges
             << " collectedRps=" << counters.collectedRps << " rangesPerRp=" << counters.rangesPerRp
             << " keptBytes=" << counters.keptBytes << " openBytes=" << counters.openBytes;
}

std::ostream &operator<<(std::ostream &out, BsrCandidateState state) {
  static constexpr const char *names[] = {"unset", "cBsr", "pBsr", "eBsr"};
  return out << names[static_cast<size_t>(state)];
}

std::ostream &operator<<(std::ostream &out, MixedFragments choice) {
  return out << (choice == MixedFragments::drop ? "drop" : "stop");
}

bool isBorder(const Status &status, const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId) {
  const auto border = status.bsBorder(zone);
  return border && border->intfId(intfId);
}

Kiv::Ptr<RpCandidateStatus> rpSetsOf(const Status &status, const Pax::IpGenPrefix &zone) {
  const auto zoneStatus = status.crpStatus(zone);
  return zoneStatus ? zoneStatus->status() : nullptr;
}

Kiv::Ptr<RpCandidateSet> rpSetOf(const Status &status, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) {
  const auto sets = rpSetsOf(status, zone);
  return sets ? sets->crpSet(prefix) : nullptr;
}

}  // namespace Routing::Pim::Bsr
