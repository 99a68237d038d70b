/// The reverse path: from which neighbor a message that originates at an address must arrive.
#pragma once

#include <optional>
#include <utility>

#include "platform/pim/PimStatus.h"
#include "platform/routing/RouteLookup.h"

namespace Routing::Pim {

struct RpfInfo {
  Pax::IpGenAddr neighbor;  ///< the primary address of a PIM neighbor; unset if there is none
  Pax::IntfId intfId;
};

/// One per VRF. It writes nothing and keeps nothing: each lookup asks the routes for the next hop and PIM status
/// for the neighbor that owns it.
///
/// For an address in a subnet of ours the next hop is the address itself, and no other neighbor will do: two
/// routers that each took the other for the way to a third one, which has left the LAN, would pass its messages
/// back and forth for ever. For an address elsewhere, a route may name only the interface (an unnumbered link) or
/// a next hop of the other family, which no Hello assigns to a neighbor. Then the only neighbor on the interface
/// is meant.
class PimRpfTable : public Kiv::Counted {
 public:
  PimRpfTable(const Kiv::Ptr<RouteLookup> &routes, const Kiv::Ptr<const Status> &status)
      : routes_(routes), status_(status) {}

  /// The RPF neighbor toward the address. There is none for an address of ours, none without a route to a PIM
  /// neighbor, and none, with a trace, if an interface leaves open which of several neighbors is meant. Of equal
  /// paths the one with the lowest next hop counts; for an interface alone that is the neighbor it stands for. An
  /// unspecified `group` asks for the unicast topology, the only one there is.
  RpfInfo doLookup(const Pax::IpGenAddr &address, const Pax::IpGenAddr &group) const;

 private:
  /// The address of a next hop, and the neighbor that owns it.
  using Path = std::pair<Pax::IpGenAddr, RpfInfo>;
  std::optional<Path> pathOf(const NextHop &nextHop, const Pax::IpGenAddr &address, bool isConnected) const;

  const Kiv::Ptr<RouteLookup> routes_;
  const Kiv::Ptr<const Status> status_;
};

}  // namespace Routing::Pim
