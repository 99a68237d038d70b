#pragma once

#include <string>
#include <vector>

#include "platform/pax/IpGenAddr.h"

namespace Routing::Pim::Bsr {

/// The whole program of one family. Returns the exit code: 0 done, 1 failed, 2 bad usage or
/// configuration.
int runProgram(Pax::AddressFamily family, const std::vector<std::string> &arguments);

}  // namespace Routing::Pim::Bsr
