#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/pax/IpGenAddr.h"

namespace Routing::Pim::Bsr {

class Status;

/// The whole program of one family. Returns the exit code: 0 done, 1 failed, 2 bad usage or
/// configuration. `started`, if any, is told of the status of each VRF whose machines have started.
int runProgram(Pax::AddressFamily family, const std::vector<std::string> &arguments,
               const std::function<void(Status &status)> &started = {});

}  // namespace Routing::Pim::Bsr
