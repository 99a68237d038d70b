/// The client's side of a subscription.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <string>

#include "daemon/control/Request.h"

namespace Control {

/// Where an agent listens, and its name for messages.
struct AgentAddress {
  std::string socket;
  std::string program;
};

/// Subscribes, and subscribes again whenever the agent has gone, cut it off or been silent too long. Runs on the
/// context of its owner, which it outlives not.
class Stream {
 public:
  struct Listener {
    /// Each line: as it came, and read.
    std::function<void(const std::string &text, const Rows &line)> line;
    /// What the operator should know: that the agent is gone, or back.
    std::function<void(const std::string &text)> notice;
  };

  /// The context's run() throws AgentError where the agent refuses the first subscription, std::runtime_error where it
  /// may not be asked or speaks otherwise, and whatever the listener throws.
  Stream(boost::asio::io_context &context, AgentAddress agent, const Request &subscribe, Listener listener);

 private:
  using Socket = boost::asio::local::stream_protocol::socket;

  void connect();
  void connected(const boost::system::error_code &error);
  void read();
  void take(const std::string &text);
  /// False where the agent was started again and has to be asked otherwise.
  bool begin(const Rows &greeting);
  void lost(const std::string &why);
  void connectIn(std::chrono::seconds delay);
  void silenceEndsIn(double seconds);

  const AgentAddress agent_;
  Request subscribe_;
  const Listener listener_;
  Socket socket_;
  boost::asio::steady_timer retry_;
  boost::asio::steady_timer silence_;
  std::string output_;
  std::string input_;
  std::string started_;  // when the agent was
  bool begun_ = false;   // the first line of this connection has come
  bool everBegun_ = false;
  bool isLost_ = false;  // and the operator knows
};

}  // namespace Control
