/// One client of the metrics server.
#pragma once

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "daemon/MetricsServer.h"

namespace Routing::Pim::Bsr {

/// Reads one request, answers it and closes. Lives as long as an operation is under way for it.
class MetricsServer::Session : public std::enable_shared_from_this<Session> {
 public:
  Session(boost::asio::ip::tcp::socket socket, std::shared_ptr<const Handler> handler);

  void read();
  void close();

 private:
  using Status = boost::beast::http::status;

  void readDone(const boost::system::error_code &error);
  void answer();
  void refuse(Status status);
  void makePiece();
  void write(std::string piece);
  template <class Buffers>
  void send(const Buffers &buffers, bool last);
  void finish();

  boost::beast::tcp_stream stream_;
  const std::shared_ptr<const Handler> handler_;
  boost::beast::flat_buffer input_{longestHeader};
  boost::beast::http::request_parser<boost::beast::http::empty_body> parser_;
  boost::beast::http::response<boost::beast::http::empty_body> header_;
  std::optional<boost::beast::http::response_serializer<boost::beast::http::empty_body>> serializer_;
  Control::Reply reply_;
  std::string output_;  // a piece of it, or all of a refusal
  std::array<char, 1024> ignored_{};
};

}  // namespace Routing::Pim::Bsr
