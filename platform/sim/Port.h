/// The packet channel of a simulated router.
#pragma once

#include "platform/pim/PacketPort.h"

namespace Sim {

class Router;

/// Real bytes go out to the router's links and come in from them, from an event of their own.
class Port : public Routing::Pim::IO::PacketPort {
 public:
  explicit Port(Router &router);
  void arrive(const Routing::Pim::IO::Incoming &packet) { receive(packet); }

 private:
  bool transmit(const Routing::Pim::IO::Outgoing &packet) override;
  Router &router_;
};

}  // namespace Sim
