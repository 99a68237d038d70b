/// What the router's unicast routing says about an address.
#pragma once

#include <vector>

#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenAddr.h"

namespace Routing {

struct NextHop {
  Pax::IntfId intfId;
  Pax::IpGenAddr address;  ///< unset if the route names only the interface; may be of the other family
};

/// The answer for one destination.
struct RouteAnswer {
  /// `none`: there is no route. `local`: an address of this router. `connected`: in a subnet of ours; `via` is the
  /// interface alone. `via`: anything else, through one of the equal-cost next hops.
  enum class Kind { none, local, connected, via };
  Kind kind = Kind::none;
  std::vector<NextHop> via;
};

/// One per VRF. It asks the kernel or the simulated network each time, and keeps no mirror of the table; nobody is
/// told when a route changes. An answer is valid until the next question.
class RouteLookup : public Kiv::Counted {
 public:
  virtual const RouteAnswer &lookup(const Pax::IpGenAddr &destination) = 0;
};

}  // namespace Routing
