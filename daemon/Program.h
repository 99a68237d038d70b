/// The programs PimBsr and PimBsr6, which differ in their address family only.
#pragma once

#include <string>
#include <vector>

#include "platform/pax/IpGenAddr.h"

namespace Routing::Pim::Bsr {

/// The whole program of one family. Returns the exit code: 0 done, 1 failed, 2 wrong command line or configuration.
int runProgram(Pax::AddressFamily family, const std::vector<std::string> &arguments);

}  // namespace Routing::Pim::Bsr
