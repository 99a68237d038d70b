/// The name of the agent of a family: of its program, its files and its state.
#pragma once

#include "platform/pax/IpGenAddr.h"

namespace Routing::Pim::Bsr {

/// "PimBsr" or "PimBsr6". Any other family is fatal.
const char *agentName(Pax::AddressFamily af);

}  // namespace Routing::Pim::Bsr
