/// The routes of one simulated router, which owns them.
#pragma once

#include <unordered_map>

#include "platform/routing/RouteLookup.h"

namespace Sim {

class Network;
class Router;

/// Shortest paths, each link counting one, always those of the network as it is now: answers are kept until the
/// topology changes. There are routes to the subnets of links and to the addresses of "lo", and to nothing else.
class Routes : public Routing::RouteLookup {
 public:
  Routes(Network &network, Router &router) : network_(network), router_(router) {}
  const Routing::RouteAnswer &lookup(const Pax::IpGenAddr &destination) override;

 private:
  Routing::RouteAnswer workOut(const Pax::IpGenAddr &destination) const;
  Routing::RouteAnswer via(const Pax::IpGenAddr &destination) const;

  Network &network_;
  Router &router_;
  std::unordered_map<Pax::IpGenAddr, Routing::RouteAnswer> known_;
  uint64_t version_ = 0;  // of the topology that known_ belongs to
};

}  // namespace Sim
