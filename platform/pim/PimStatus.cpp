#include "platform/pim/PimStatus.h"

#include <algorithm>

namespace Routing::Pim {

Kiv::Ptr<PimNeighbor> PimIntf::neighborOwning(const Pax::IpGenAddr &address, Pax::IpGenAddr &primary) const {
  if (const Kiv::Ptr<PimNeighbor> owner = neighbor(address)) {
    primary = address;
    return owner;
  }
  for (const auto &[key, candidate] : neighbor()) {
    if (!candidate->secondary(address)) continue;
    primary = key;
    return candidate;
  }
  return nullptr;
}

Pax::IpGenAddr PimIntf::electedDr(const TakesPart &takesPart) const {
  bool isPriorityUsed = true;
  for (const auto &[key, candidate] : neighbor()) {
    if (takesPart(key, *candidate)) isPriorityUsed = isPriorityUsed && candidate->hasDrPriority();
  }
  auto best = std::pair(isPriorityUsed ? drPriority() : 0, address());
  for (const auto &[key, candidate] : neighbor()) {
    if (takesPart(key, *candidate)) best = std::max(best, std::pair(isPriorityUsed ? candidate->drPriority() : 0, key));
  }
  return best.second;
}

}  // namespace Routing::Pim
