#include "platform/pim/PimStatus.h"

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

}  // namespace Routing::Pim
