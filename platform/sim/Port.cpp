#include "platform/sim/Port.h"

#include "platform/sim/Network.h"
#include "platform/sim/Router.h"

namespace Sim {

Port::Port(Router &router) : PacketPort(router.network().af(), router.pimStatus(), router.routes()), router_(router) {
  decodedBlocksAre(router.network().decodedBlocks());
}

Orb::Footprint *Port::emptyFootprint(const Pax::IntfId &intfId) { return router_.emptyFootprint(intfId); }

bool Port::transmit(const Routing::Pim::IO::Outgoing &packet) { return router_.transmit(packet); }

}  // namespace Sim
