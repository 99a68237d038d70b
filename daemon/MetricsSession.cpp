#include "daemon/MetricsSession.h"

#include <boost/asio/write.hpp>

namespace Routing::Pim::Bsr {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::system::error_code;

namespace {

constexpr std::chrono::seconds requestMost{10};  // until the request is complete
constexpr std::chrono::seconds answerMost{30};   // until the answer is made and taken

const char *contentType(MetricsFormat format) {
  return format == MetricsFormat::openMetrics ? "application/openmetrics-text; version=1.0.0; charset=utf-8"
                                              : "text/plain; version=0.0.4; charset=utf-8";
}

std::string refusalText(http::status status, unsigned version) {
  http::response<http::string_body> refusal(status, version);
  refusal.set(http::field::content_type, "text/plain; charset=utf-8");
  if (status == http::status::method_not_allowed) refusal.set(http::field::allow, "GET");
  refusal.keep_alive(false);
  refusal.body() = std::string(refusal.reason()) + "\n";
  refusal.prepare_payload();
  std::ostringstream out;
  out << refusal;
  return out.str();
}

}  // namespace

MetricsServer::Session::Session(asio::ip::tcp::socket socket, std::shared_ptr<const Handler> handler)
    : stream_(std::move(socket)), handler_(std::move(handler)) {
  parser_.header_limit(longestHeader);
}

void MetricsServer::Session::read() {
  stream_.expires_after(requestMost);
  http::async_read_header(stream_, input_, parser_,
                          [self = shared_from_this()](const error_code &error, size_t) { self->readDone(error); });
}

void MetricsServer::Session::close() { stream_.close(); }

void MetricsServer::Session::readDone(const error_code &error) {
  stream_.expires_after(answerMost);
  if (!error) return answer();
  if (error == http::error::header_limit || error == http::error::buffer_overflow) {
    return refuse(Status::request_header_fields_too_large);
  }
  const bool isMalformed = error.category() == http::make_error_code(http::error::bad_method).category();
  isMalformed &&error != http::error::end_of_stream ? refuse(Status::bad_request) : close();
}

void MetricsServer::Session::answer() {
  const auto &request = parser_.get();
  const beast::string_view target = request.target();
  if (target.substr(0, target.find('?')) != "/metrics") return refuse(Status::not_found);
  if (request.method() != http::verb::get) return refuse(Status::method_not_allowed);
  const beast::string_view accept = request[http::field::accept];
  const MetricsFormat format = metricsFormatFrom({accept.data(), accept.size()});
  reply_ = (*handler_)(format);
  header_.version(request.version());
  header_.set(http::field::content_type, contentType(format));
  header_.keep_alive(false);
  header_.chunked(request.version() >= 11);
  serializer_.emplace(header_);
  http::async_write_header(stream_, *serializer_, [self = shared_from_this()](const error_code &error, size_t) {
    error ? self->close() : self->makePiece();
  });
}

void MetricsServer::Session::refuse(Status status) {
  output_ = refusalText(status, 11);
  send(asio::buffer(output_), true);
}

void MetricsServer::Session::makePiece() {
  reply_([self = shared_from_this()](std::string piece) { self->write(std::move(piece)); });
}

void MetricsServer::Session::write(std::string piece) {
  const bool end = piece.empty();
  output_ = std::move(piece);
  if (!header_.chunked()) return end ? finish() : send(asio::buffer(output_), false);
  end ? send(http::make_chunk_last(), true) : send(http::make_chunk(asio::buffer(output_)), false);
}

template <class Buffers>
void MetricsServer::Session::send(const Buffers &buffers, bool last) {
  asio::async_write(stream_, buffers, [self = shared_from_this(), last](const error_code &error, size_t) {
    if (error) return self->close();
    last ? self->finish() : self->makePiece();
  });
}

// Whoever still sends is read until he has seen the answer, since a reset would take that from him.
void MetricsServer::Session::finish() {
  error_code ignored;
  stream_.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
  stream_.async_read_some(asio::buffer(ignored_), [self = shared_from_this()](const error_code &error, size_t) {
    error ? self->close() : self->finish();
  });
}

}  // namespace Routing::Pim::Bsr
