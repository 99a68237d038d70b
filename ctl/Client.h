#pragma once

#include <string>

#include "daemon/control/Request.h"

namespace Control {

/// Asks the agent that listens on the socket and returns its rows. Throws std::runtime_error with the
/// agent's own error, or saying why it does not answer; `program` is its name for that.
Rows ask(const std::string &socket, const std::string &program, const Request &request);

}  // namespace Control
