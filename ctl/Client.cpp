#include "ctl/Client.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "daemon/control/Defaults.h"

namespace Control {

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

using Socket = asio::local::stream_protocol::socket;

constexpr std::chrono::seconds patience{30};

}  // namespace

std::string whyUnreachable(const std::string &socket, const std::string &program, const error_code &error) {
  if (error == boost::system::errc::permission_denied)
    return "no permission to connect to " + program + " on " + socket + ": it is for root and the group of that file";
  return program + " is not running: nothing listens on " + socket + " (" + error.message() + ")";
}

namespace {

// The unit of an agent that is asked by its name; nothing for one that is asked by its socket.
std::string whereToLook(const std::string &program) {
  if (program == agentName(Pax::AddressFamily::ipv4)) return "; see 'systemctl status pimbsr'";
  return program == agentName(Pax::AddressFamily::ipv6) ? "; see 'systemctl status pimbsr6'" : "";
}

// Waits while more clients connect than the agent has taken yet.
Socket connected(asio::io_context &context, const std::string &socket, const std::string &program) {
  Socket agent(context);
  const timeval limit{patience.count(), 0};
  error_code error;
  agent.open();
  ::setsockopt(agent.native_handle(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  try {
    agent.connect(socket, error);
  } catch (const boost::system::system_error &tooLong) {
    throw std::runtime_error(socket + ": " + tooLong.code().message());
  }
  const bool isForbidden = error == boost::system::errc::permission_denied;
  if (error)
    throw std::runtime_error(whyUnreachable(socket, program, error) + (isForbidden ? "" : whereToLook(program)));
  return agent;
}

}  // namespace

Rows ask(const std::string &socket, const std::string &program, const Request &request) {
  asio::io_context context;
  Socket agent = connected(context, socket, program);
  const std::string question = toLine(request) + '\n';
  std::string answer;
  error_code failure = asio::error::timed_out;
  asio::async_write(agent, asio::buffer(question), [&](const error_code &, size_t) {
    // Even if that failed: an agent that has too many clients says so without listening.
    asio::async_read_until(agent, asio::dynamic_buffer(answer), '\n',
                           [&](const error_code &error, size_t) { failure = error; });
  });
  context.run_for(patience);
  if (failure) throw std::runtime_error(program + " did not reply on " + socket + " (" + failure.message() + ")");
  return rowsFromLine(std::string_view(answer).substr(0, answer.find('\n')));
}

}  // namespace Control
