/// The control socket: a line in is a request, a line out the reply.
#pragma once

#include <boost/asio/io_context.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "daemon/control/Reply.h"

namespace Routing::Pim::Bsr {

/// Listens on a Unix stream socket that owner and group may use. Clients are served on the loop and cannot hold it
/// up: one that is slow, silent or half-closed has a deadline, and one whose line is too long is told so and dropped.
/// When mostClients are served, a new one takes the place of the oldest that has not asked anything yet, or is told
/// that there are too many. The daemon owns it; it knows nothing of what is asked.
class ControlServer {
 public:
  /// Gives the reply line to a request line, both without newline. Neither it nor the reply may throw.
  using Handler = std::function<Control::Reply(std::string_view request)>;

  static constexpr size_t mostClients = 64;

  /// Makes the socket's directory if there is none, and replaces a socket that nobody listens on.
  /// Throws std::runtime_error when somebody does, or when the socket cannot be made.
  ControlServer(boost::asio::io_context &context, const std::string &path, Handler handler);
  /// Drops all clients and removes the socket.
  ~ControlServer();
  ControlServer(const ControlServer &) = delete;
  ControlServer &operator=(const ControlServer &) = delete;

 private:
  class Session;
  class Listener;

  const std::shared_ptr<Listener> listener_;
};

}  // namespace Routing::Pim::Bsr
