/// What the router's own routing says of an address.
#pragma once

#include <vector>

#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenAddr.h"

namespace Routing {

struct NextHop {
  Pax::IntfId intfId;
  Pax::IpGenAddr address;  ///< unset where the route names only the interface; may be of the other family
};

/// The answer for one destination. Connected is one in a subnet of ours: `via` holds the interface. For
/// any other that is not local, `via` lists the equal-cost next hops.
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
