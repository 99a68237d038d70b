/// The client's side of the control protocol: one request on a connection of its own.
#pragma once

#include <boost/system/error_code.hpp>
#include <string>

#include "daemon/control/Request.h"

namespace Control {

/// Asks the agent that listens on the socket and returns its rows; waits up to 30 seconds. Throws AgentError where it
/// refuses, and std::runtime_error saying why there is no answer, where `program` names the agent.
Rows ask(const std::string &socket, const std::string &program, const Request &request);

/// What an operator is told when a connection fails.
std::string whyUnreachable(const std::string &socket, const std::string &program,
                           const boost::system::error_code &error);

}  // namespace Control
