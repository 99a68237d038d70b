/// The routes of one simulated router.
#pragma once

#include <unordered_map>

#include "platform/routing/RouteLookup.h"

namespace Sim {

class Network;
class Router;

/// Shortest paths, a link counting one, always those of the network as it is: what was worked out
/// is kept until the topology changes. Subnets of links and addresses of "lo" have routes; nothing
/// else has.
class Routes : public Routing::RouteLookup {
 public:
  Routes(Network &network, Router &router) : network_(network), router_(router) {}
  Routing::RouteAnswer lookup(const Pax::IpGenAddr &destination) override;

 private:
  Routing::RouteAnswer workOut(const Pax::IpGenAddr &destination) const;
  Routing::RouteAnswer via(const Pax::IpGenAddr &destination) const;

  Network &network_;
  Router &router_;
  std::unordered_map<Pax::IpGenAddr, Routing::RouteAnswer> known_;
  uint64_t version_ = 0;  // of the topology that known_ belongs to
};

}  // namespace Sim
