/// The unicast tables of a VRF, as they are mounted. Written by the platform when PIM comes up in the VRF. The
/// agent never mirrors a table but asks for one address at a time, so what is mounted is the way to ask.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/routing/RouteLookup.h"

namespace Flume {

namespace Fib {

/// "routing/status", or "routing/vrf/status/NAME" outside the default VRF.
class RouteStatus : public Kiv::Entity {
  KIV_ENTITY_WITH(RouteStatus, pointer, Routing::RouteLookup, routes, Routes)
};

}  // namespace Fib

namespace Fib6 {

/// The same of IPv6: "routing6/...".
class RouteStatus : public Fib::RouteStatus {};

}  // namespace Fib6

}  // namespace Flume
