#include "ctl/Client.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <chrono>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace Control {

namespace {

using Socket = boost::asio::local::stream_protocol::socket;

constexpr std::chrono::seconds patience{30};

}  // namespace

std::string whyUnreachable(const std::string &socket, const std::string &program,
                           const boost::system::error_code &error) {
  if (error == boost::system::errc::permission_denied)
    return "no permission to connect to " + program + " on " + socket;
  return program + " is not running: nothing listens on " + socket + " (" + error.message() + ")";
}

namespace {

// Waits while more clients connect than the agent has taken yet, which an iostream would not.
Socket connected(boost::asio::io_context &context, const std::string &socket, const std::string &program) {
  Socket agent(context);
  const timeval limit{patience.count(), 0};
  boost::system::error_code error;
  agent.open();
  ::setsockopt(agent.native_handle(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  try {
    agent.connect(socket, error);
  } catch (const boost::system::system_error &tooLong) {
    throw std::runtime_error(socket + ": " + tooLong.code().message());
  }
  if (error) throw std::runtime_error(whyUnreachable(socket, program, error));
  return agent;
}

}  // namespace

Rows ask(const std::string &socket, const std::string &program, const Request &request) {
  boost::asio::io_context context;
  boost::asio::local::stream_protocol::iostream agent(connected(context, socket, program));
  agent.expires_after(patience);
  agent << toLine(request) << '\n' << std::flush;
  agent.clear();  // an agent that has too many clients says so without listening
  std::string line;
  if (!std::getline(agent, line) || agent.eof()) {
    throw std::runtime_error(program + " did not reply on " + socket +
                             (agent.error() ? " (" + agent.error().message() + ")" : ""));
  }
  return rowsFromLine(line);
}

}  // namespace Control
