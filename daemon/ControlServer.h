/// The control socket: requests in, replies out, a line each.
#pragma once

#include <sys/types.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Routing::Pim::Bsr {

/// Listens on a Unix stream socket that owner and group may use. Clients are served on the loop and
/// cannot hold it up: one that is slow, silent or half-closed has a deadline, one whose line is too
/// long is told so and dropped, and only so many are served at a time.
class ControlServer {
 public:
  /// Gives the reply line to a request line, both without newline. Must not throw.
  using Handler = std::function<std::string(std::string_view request)>;

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

  void listen();
  void accept();
  void serve(boost::asio::local::stream_protocol::socket socket);

  const std::string path_;
  const std::shared_ptr<const Handler> handler_;
  boost::asio::local::stream_protocol::acceptor acceptor_;
  boost::asio::steady_timer pause_;  // after an accept that failed, for want of descriptors say
  std::vector<std::weak_ptr<Session>> sessions_;
  const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);  // for what is still queued in the loop
  dev_t device_ = 0;                                                  // which file is ours
  ino_t inode_ = 0;
};

}  // namespace Routing::Pim::Bsr
