/// The packet channel of a simulated router.
#pragma once

#include "platform/pim/PacketPort.h"

namespace Sim {

class Router;

/// The bytes go out to the router's links and come in from them as on a real wire. Owned by the router while its PIM
/// runs.
class Port : public Routing::Pim::IO::PacketPort {
 public:
  explicit Port(Router &router);
  /// A link has delivered a packet to the router itself.
  void arrive(const Routing::Pim::IO::Incoming &packet) { receive(packet); }

 private:
  Orb::Footprint *emptyFootprint(const Pax::IntfId &intfId) override;
  bool transmit(const Routing::Pim::IO::Outgoing &packet) override;
  Router &router_;
};

}  // namespace Sim
