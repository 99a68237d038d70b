#include "platform/system/AgentName.h"

#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

const char *agentName(Pax::AddressFamily af) {
  REQUIRE_AS(Pax::addressBits(af) != 0, "0 && \"Unsupported Address Family\"");
  return af == Pax::AddressFamily::ipv4 ? "PimBsr" : "PimBsr6";
}

}  // namespace Routing::Pim::Bsr
