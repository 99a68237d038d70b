#include "platform/system/AgentName.h"

#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

const char *agentName(Pax::AddressFamily af) {
  switch (af) {
    case Pax::AddressFamily::ipv4: return "PimBsr";
    case Pax::AddressFamily::ipv6: return "PimBsr6";
    case Pax::AddressFamily::unknown: break;
  }
  REQUIRE(0 && "Unsupported Address Family");
  return nullptr;
}

}  // namespace Routing::Pim::Bsr
