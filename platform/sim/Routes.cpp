#include "platform/sim/Routes.h"

#include "platform/sim/Network.h"
#include "platform/sim/Router.h"

namespace Sim {

using Routing::RouteAnswer;

namespace {

bool isOnLink(const Intf &intf, const Pax::IpGenAddr &destination) {
  for (const auto &[address, info] : intf.status()->address()) {
    if (info.global && info.subnet.covers(Pax::IpGenPrefix::host(destination))) return true;
  }
  return false;
}

}  // namespace

const RouteAnswer &Routes::lookup(const Pax::IpGenAddr &destination) {
  if (version_ != network_.topologyVersion()) known_.clear();
  version_ = network_.topologyVersion();
  const auto [known, isNew] = known_.try_emplace(destination);
  if (isNew) known->second = workOut(destination);
  return known->second;
}

RouteAnswer Routes::workOut(const Pax::IpGenAddr &destination) const {
  if (router_.owns(destination)) return {RouteAnswer::Kind::local, {}};
  for (const Intf &intf : router_.intfs()) {
    if (intf.isUp() && !intf.link().isCut() && isOnLink(intf, destination)) {
      return {RouteAnswer::Kind::connected, {{intf.intfId(), {}}}};
    }
  }
  return via(destination);
}

RouteAnswer Routes::via(const Pax::IpGenAddr &destination) const {
  const Network::Distances &distances = network_.distancesTo(destination);
  const uint32_t own = distances[router_.index()];
  if (own == Network::unreachable || own == 0) return {};
  RouteAnswer answer{RouteAnswer::Kind::via, {}};
  for (const Intf &intf : router_.intfs()) {
    if (!intf.isUp() || intf.link().isCut()) continue;
    for (const Intf *member : intf.link().members()) {
      if (member->isUp() && distances[member->router().index()] + intf.link().parameters().cost == own) {
        answer.via.push_back({intf.intfId(), member->nextHopAddress()});
      }
    }
  }
  return answer;
}

}  // namespace Sim
