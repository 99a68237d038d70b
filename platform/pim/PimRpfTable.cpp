#include "platform/pim/PimRpfTable.h"

#include <algorithm>
#include <tuple>

namespace Routing::Pim {

RpfInfo PimRpfTable::doLookup(const Pax::IpGenAddr &address, const Pax::IpGenAddr &) const {
  RouteAnswer answer = routes_->lookup(address);
  if (answer.kind != RouteAnswer::Kind::connected && answer.kind != RouteAnswer::Kind::via) return {};
  // A next hop without an address is the destination itself, on the link.
  for (NextHop &nextHop : answer.via) {
    if (nextHop.address.isZero()) nextHop.address = address;
  }
  std::sort(answer.via.begin(), answer.via.end(), [](const NextHop &left, const NextHop &right) {
    return std::tie(left.address, left.intfId) < std::tie(right.address, right.intfId);
  });
  for (const NextHop &nextHop : answer.via) {
    const Kiv::Ptr<PimIntf> pimIntf = status_->pimIntf(nextHop.intfId);
    RpfInfo info{{}, nextHop.intfId};
    if (pimIntf && pimIntf->neighborOwning(nextHop.address, info.neighbor)) return info;
  }
  return {};
}

}  // namespace Routing::Pim
