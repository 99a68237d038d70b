#include "ctl/Client.h"

#include <boost/asio/local/stream_protocol.hpp>
#include <chrono>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace Control {

namespace {

constexpr std::chrono::seconds patience{30};

}  // namespace

std::string whyUnreachable(const std::string &socket, const std::string &program,
                           const boost::system::error_code &error) {
  if (error == boost::system::errc::permission_denied)
    return "no permission to connect to " + program + " on " + socket;
  return program + " is not running: nothing listens on " + socket + " (" + error.message() + ")";
}

Rows ask(const std::string &socket, const std::string &program, const Request &request) {
  boost::asio::local::stream_protocol::iostream agent;
  agent.expires_after(patience);
  try {
    agent.connect(boost::asio::local::stream_protocol::endpoint(socket));
  } catch (const boost::system::system_error &tooLong) {
    throw std::runtime_error(socket + ": " + tooLong.code().message());
  }
  if (!agent) throw std::runtime_error(whyUnreachable(socket, program, agent.error()));
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
