/// What the router's own routing says of an address.
#pragma once

#include <vector>

#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenAddr.h"

namespace Routing {

struct NextHop {
  Pax::IntfId intfId;
  Pax::IpGenAddr address;  ///< unset where the destination is connected
};

/// The answer for one destination. `via` lists the equal-cost next hops of a route that is neither
/// local nor connected; for a connected destination it holds one with no address.
struct RouteAnswer {
  enum class Kind { none, local, connected, via };
  Kind kind = Kind::none;
  std::vector<NextHop> via;
};

/// Asked per address, of the kernel or of the simulated network: never a mirror of the table.
class RouteLookup : public Kiv::Counted {
 public:
  virtual RouteAnswer lookup(const Pax::IpGenAddr &destination) = 0;
};

}  // namespace Routing
