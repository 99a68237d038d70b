#include "ctl/Stream.h"

#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "ctl/Client.h"
#include "daemon/control/Streams.h"

namespace Control {

namespace asio = boost::asio;
using boost::system::error_code;

Stream::Stream(asio::io_context &context, AgentAddress agent, const Request &subscribe, Listener listener)
    : agent_(std::move(agent)),
      subscribe_(subscribe),
      listener_(std::move(listener)),
      socket_(context),
      retry_(context),
      silence_(context) {
  connect();
}

void Stream::connect() {
  begun_ = false;
  input_.clear();
  socket_.async_connect(agent_.socket, [this](const error_code &error) { connected(error); });
}

void Stream::connected(const error_code &error) {
  if (error) {
    const std::string why = whyUnreachable(agent_.socket, agent_.program, error);
    if (error == boost::system::errc::permission_denied) throw std::runtime_error(why);
    return lost(why);
  }
  output_ = toLine(subscribe_).append("\n");
  asio::async_write(socket_, asio::buffer(output_), [this](const error_code &failed, size_t) {
    // An agent that has too many clients says so without listening.
    if (!failed || failed == asio::error::broken_pipe)
      read();
    else if (failed != asio::error::operation_aborted)
      lost(agent_.program + " is gone: " + failed.message());
  });
}

void Stream::read() {
  silenceEndsIn(silenceMost);
  asio::async_read_until(socket_, asio::dynamic_buffer(input_), '\n', [this](const error_code &error, size_t length) {
    if (error == asio::error::operation_aborted) return;
    if (error) return lost(agent_.program + " is gone");
    const std::string text = input_.substr(0, length - 1);
    input_.erase(0, length);
    take(text);
    if (socket_.is_open()) read();
  });
}

void Stream::take(const std::string &text) {
  const Rows line = Rows::parse(text, nullptr, false);
  if (!line.is_object()) return lost(agent_.program + " says what is no line of a stream");
  if (!begun_ && !line.contains("error") && !begin(line)) return;
  listener_.line(text, line);
  if (!line.contains("error")) return;
  if (!everBegun_) throw errorFrom(line);
  lost(agent_.program + ": " + errorFrom(line).what());
}

bool Stream::begin(const Rows &greeting) {
  const Rows protocol = greeting.value("protocol", Rows());
  if (!protocol.is_number_integer() || protocol.get<int>() != protocolVersion) {
    throw std::runtime_error(agent_.program + " speaks version " + protocol.dump() + " of the protocol, and not " +
                             std::to_string(protocolVersion));
  }
  // The events of another run have numbers of their own, so that one of before would leave out new ones.
  const std::string started = greeting.value("started", "");
  const bool isAnother = std::exchange(started_, started) != started && everBegun_;
  if (isAnother && !subscribe_.since.empty() && subscribe_.since.find_first_not_of("0123456789") == std::string::npos) {
    subscribe_.since.clear();
    silence_.cancel();
    socket_.close();
    connectIn(std::chrono::seconds(0));
    return false;
  }
  begun_ = everBegun_ = true;
  if (std::exchange(isLost_, false)) listener_.notice(agent_.program + " is back");
  return true;
}

void Stream::lost(const std::string &why) {
  error_code ignored;
  silence_.cancel();
  socket_.close(ignored);
  if (!std::exchange(isLost_, true)) listener_.notice(why + "; waiting for it");
  connectIn(std::chrono::seconds(1));
}

void Stream::connectIn(std::chrono::seconds delay) {
  retry_.expires_after(delay);
  retry_.async_wait([this](const error_code &error) {
    if (!error) connect();
  });
}

void Stream::silenceEndsIn(double seconds) {
  silence_.expires_after(std::chrono::milliseconds(static_cast<int64_t>(seconds * 1000)));
  silence_.async_wait([this](const error_code &error) {
    if (!error) lost(agent_.program + " says nothing any more");
  });
}

}  // namespace Control
