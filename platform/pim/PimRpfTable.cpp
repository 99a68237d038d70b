#include "platform/pim/PimRpfTable.h"

#include <tuple>

#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim {

static Tracelet::Module trace("Pim::Rpf");

RpfInfo PimRpfTable::doLookup(const Pax::IpGenAddr &address, const Pax::IpGenAddr &) const {
  const RouteAnswer &answer = routes_->lookup(address);
  const bool isConnected = answer.kind == RouteAnswer::Kind::connected;
  if (!isConnected && answer.kind != RouteAnswer::Kind::via) return {};
  std::optional<Path> best;
  for (const NextHop &nextHop : answer.via) {
    const std::optional<Path> path = pathOf(nextHop, address, isConnected);
    if (!path) continue;
    const auto rank = [](const Path &path) { return std::tie(path.first, path.second.intfId); };
    if (!best || rank(*path) < rank(*best)) best = path;
  }
  return best ? best->second : RpfInfo();
}

std::optional<PimRpfTable::Path> PimRpfTable::pathOf(const NextHop &nextHop, const Pax::IpGenAddr &address,
                                                     bool isConnected) const {
  const Kiv::Ptr<PimIntf> pimIntf = status_->pimIntf(nextHop.intfId);
  if (!pimIntf) return std::nullopt;
  const Pax::IpGenAddr &owned = nextHop.address.isZero() ? address : nextHop.address;
  Path path{owned, {{}, nextHop.intfId}};
  if (pimIntf->neighborOwning(owned, path.second.neighbor)) return path;
  if (isConnected || nextHop.address.af() == address.af()) return std::nullopt;
  const std::vector<Pax::IpGenAddr> neighbors = pimIntf->neighbor().keys();
  if (neighbors.size() == 1) return Path{neighbors[0], {neighbors[0], nextHop.intfId}};
  if (!neighbors.empty()) {
    TRACELET(trace, 1,
             "RPF - Error - The route to " << address << " tells only interface " << nextHop.intfId << ", where "
                                           << neighbors.size() << " PIM neighbors are: none is the RPF neighbor");
  }
  return std::nullopt;
}

}  // namespace Routing::Pim
