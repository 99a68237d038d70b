/// The way back: from which neighbour a message about an address must come.
#pragma once

#include <optional>
#include <utility>

#include "platform/pim/PimStatus.h"
#include "platform/routing/RouteLookup.h"

namespace Routing::Pim {

struct RpfInfo {
  Pax::IpGenAddr neighbor;  ///< the primary address of a PIM neighbour; unset when there is none
  Pax::IntfId intfId;
};

/// Routes tell the next hop, PIM status tells which neighbour owns it. For an address in a subnet of
/// ours the next hop is the address itself, and nobody else will do: two routers that took each other
/// for the way to a third that has left the LAN would pass its messages back and forth for ever. A
/// route elsewhere that names only an interface (an unnumbered link), or a next hop of the other
/// family, whose owner no Hello tells, means the one neighbour that is there.
class PimRpfTable : public Kiv::Counted {
 public:
  PimRpfTable(const Kiv::Ptr<RouteLookup> &routes, const Kiv::Ptr<const Status> &status)
      : routes_(routes), status_(status) {}

  /// None for an address of ours, and none, with a trace, where the interface does not tell which of
  /// several neighbours it is. Among equal paths the one with the lowest next hop, which for an
  /// interface alone is the neighbour that it stands for. An unspecified `group` asks for the unicast
  /// topology, the only one there is.
  RpfInfo doLookup(const Pax::IpGenAddr &address, const Pax::IpGenAddr &group) const;

 private:
  /// A next hop that is a neighbour's, and the neighbour.
  using Path = std::pair<Pax::IpGenAddr, RpfInfo>;
  std::optional<Path> pathOf(const NextHop &nextHop, const Pax::IpGenAddr &address, bool isConnected) const;

  const Kiv::Ptr<RouteLookup> routes_;
  const Kiv::Ptr<const Status> status_;
};

}  // namespace Routing::Pim
