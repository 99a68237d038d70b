/// The way back: from which neighbour a message about an address must come.
#pragma once

#include "platform/pim/PimStatus.h"
#include "platform/routing/RouteLookup.h"

namespace Routing::Pim {

struct RpfInfo {
  Pax::IpGenAddr neighbor;  ///< the primary address of a PIM neighbour; unset when there is none
  Pax::IntfId intfId;
};

/// Routes tell the next hop, PIM status tells which neighbour owns it.
class PimRpfTable : public Kiv::Counted {
 public:
  PimRpfTable(const Kiv::Ptr<RouteLookup> &routes, const Kiv::Ptr<const Status> &status)
      : routes_(routes), status_(status) {}

  /// None for an address of ours. For a connected address the neighbour that owns it; otherwise the
  /// neighbour that owns the next hop, among equal paths the one with the lowest next hop. An
  /// unspecified `group` asks for the unicast topology, the only one there is.
  RpfInfo doLookup(const Pax::IpGenAddr &address, const Pax::IpGenAddr &group) const;

 private:
  const Kiv::Ptr<RouteLookup> routes_;
  const Kiv::Ptr<const Status> status_;
};

}  // namespace Routing::Pim
