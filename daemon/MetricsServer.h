/// The metrics over HTTP: GET /metrics, one answer a connection.
#pragma once

#include <boost/asio/io_context.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "daemon/control/Reply.h"
#include "daemon/file/Configuration.h"
#include "view/MetricsText.h"

namespace Routing::Pim::Bsr {

/// Listens where the configuration says. Clients are served on the loop and cannot hold it up: each has a deadline for
/// its request and one for the answer, and a request is of limited length. When mostClients are there, the oldest one
/// makes room for a new one. Where the address cannot be listened on, that is told and tried again every ten seconds.
/// The daemon owns it; it knows nothing of what it serves.
class MetricsServer {
 public:
  /// Gives the text, in pieces. Neither it nor the reply may throw.
  using Handler = std::function<Control::Reply(MetricsFormat)>;

  /// Is told why it cannot listen, when that begins, and then an empty text, when it can.
  using Trouble = std::function<void(const Endpoint &endpoint, const std::string &error)>;

  static constexpr size_t mostClients = 16;
  static constexpr size_t longestHeader = 8 << 10;

  MetricsServer(boost::asio::io_context &context, Handler handler, Trouble trouble,
                std::chrono::milliseconds retryAfter = std::chrono::seconds(10));
  /// Drops all clients.
  ~MetricsServer();
  MetricsServer(const MetricsServer &) = delete;
  MetricsServer &operator=(const MetricsServer &) = delete;

  /// Listens there from now on, or nowhere if it is empty; clients of another endpoint are dropped.
  void endpointIs(const Endpoint &endpoint);
  /// Where it listens; empty if it does not.
  Endpoint endpoint() const;

 private:
  class Session;
  class Listener;

  const std::shared_ptr<Listener> listener_;
};

/// What a client prefers whose Accept header is this: OpenMetrics, unless it likes the older text better.
MetricsFormat metricsFormatFrom(std::string_view accept);

}  // namespace Routing::Pim::Bsr
