#include "daemon/MetricsServer.h"

#include <algorithm>
#include <boost/asio/steady_timer.hpp>
#include <charconv>
#include <utility>
#include <vector>

#include "daemon/MetricsSession.h"

namespace Routing::Pim::Bsr {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

tcp::endpoint toAsio(const Endpoint &endpoint) {
  const auto bytes = endpoint.address.bytes();
  if (endpoint.address.af() == Pax::AddressFamily::ipv4) {
    return {asio::ip::address_v4(endpoint.address.v4()), endpoint.port};
  }
  return {asio::ip::address_v6(bytes), endpoint.port};
}

// Takes what is before the separator, without blanks around it, off the text.
std::string_view nextPart(std::string_view &text, char separator) {
  const size_t end = std::min(text.find(separator), text.size());
  std::string_view part = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  while (!part.empty() && (part.front() == ' ' || part.front() == '\t')) part.remove_prefix(1);
  while (!part.empty() && (part.back() == ' ' || part.back() == '\t')) part.remove_suffix(1);
  return part;
}

double qualityFrom(std::string_view parameters) {
  double quality = 1;
  while (!parameters.empty()) {
    const std::string_view parameter = nextPart(parameters, ';');
    if (parameter.starts_with("q=")) std::from_chars(parameter.data() + 2, parameter.end(), quality);
  }
  return quality;
}

}  // namespace

MetricsFormat metricsFormatFrom(std::string_view accept) {
  double open = 0, plain = 0, other = 0;
  while (!accept.empty()) {
    std::string_view range = nextPart(accept, ',');
    const std::string_view type = nextPart(range, ';');
    double &best = type == "application/openmetrics-text" ? open : type == "text/plain" ? plain : other;
    best = std::max(best, qualityFrom(range));
  }
  return plain > open ? MetricsFormat::prometheus : MetricsFormat::openMetrics;
}

// The listening socket and its clients. Operations that are under way hold it weakly.
class MetricsServer::Listener : public std::enable_shared_from_this<Listener> {
 public:
  Listener(asio::io_context &context, Handler handler, Trouble trouble, std::chrono::milliseconds retryAfter)
      : handler_(std::make_shared<const Handler>(std::move(handler))),
        trouble_(std::move(trouble)),
        retryAfter_(retryAfter),
        acceptor_(context),
        retry_(context) {}

  void endpointIs(const Endpoint &endpoint) {
    if (endpoint == wanted_) return;
    close();
    wanted_ = endpoint;
    failing_ = false;
    if (!wanted_.empty()) open();
  }
  Endpoint endpoint() const {
    error_code error;
    const auto local = acceptor_.local_endpoint(error);
    return error ? Endpoint() : Endpoint{wanted_.address, local.port()};
  }
  void close();

 private:
  void open();
  void accept();
  void serve(tcp::socket socket);
  void later(void (Listener::*retry)());

  const std::shared_ptr<const Handler> handler_;
  const Trouble trouble_;
  const std::chrono::milliseconds retryAfter_;
  Endpoint wanted_;
  bool failing_ = false;  // to listen there
  tcp::acceptor acceptor_;
  asio::steady_timer retry_;
  std::vector<std::weak_ptr<Session>> sessions_;  // the oldest first
};

MetricsServer::MetricsServer(asio::io_context &context, Handler handler, Trouble trouble,
                             std::chrono::milliseconds retryAfter)
    : listener_(std::make_shared<Listener>(context, std::move(handler), std::move(trouble), retryAfter)) {}

MetricsServer::~MetricsServer() { listener_->close(); }

void MetricsServer::endpointIs(const Endpoint &endpoint) { listener_->endpointIs(endpoint); }

Endpoint MetricsServer::endpoint() const { return listener_->endpoint(); }

void MetricsServer::Listener::close() {
  for (const auto &weak : sessions_) {
    if (const auto session = weak.lock()) session->close();
  }
  sessions_.clear();
  error_code ignored;
  acceptor_.close(ignored);
  retry_.cancel();
}

void MetricsServer::Listener::open() {
  const tcp::endpoint endpoint = toAsio(wanted_);
  try {
    acceptor_.open(endpoint.protocol());
    acceptor_.set_option(tcp::acceptor::reuse_address(true));
    acceptor_.bind(endpoint);
    acceptor_.listen();
  } catch (const boost::system::system_error &error) {
    if (!std::exchange(failing_, true)) trouble_(wanted_, error.code().message());
    error_code ignored;
    acceptor_.close(ignored);
    return later(&Listener::open);
  }
  if (std::exchange(failing_, false)) trouble_(wanted_, "");
  accept();
}

void MetricsServer::Listener::accept() {
  acceptor_.async_accept([weak = weak_from_this()](const error_code &error, tcp::socket socket) {
    const auto self = weak.lock();
    if (!self || error == asio::error::operation_aborted) return;
    if (error) return self->later(&Listener::accept);  // for want of descriptors, say
    self->serve(std::move(socket));
    self->accept();
  });
}

void MetricsServer::Listener::later(void (Listener::*retry)()) {
  retry_.expires_after(retryAfter_);
  retry_.async_wait([weak = weak_from_this(), retry](const error_code &cancelled) {
    const auto self = weak.lock();
    if (self && !cancelled) (self.get()->*retry)();
  });
}

void MetricsServer::Listener::serve(tcp::socket socket) {
  std::erase_if(sessions_, [](const auto &session) { return session.expired(); });
  // Whoever is served in time is never the oldest for long; those that hold on are.
  if (sessions_.size() == mostClients) {
    if (const auto oldest = sessions_.front().lock()) oldest->close();
    sessions_.erase(sessions_.begin());
  }
  const auto session = std::make_shared<Session>(std::move(socket), handler_);
  sessions_.push_back(session);
  session->read();
}

}  // namespace Routing::Pim::Bsr
