#include "daemon/MetricsServer.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <chrono>

namespace Routing::Pim::Bsr {
namespace {

constexpr std::chrono::seconds patience(60);

// A client of which nothing is expected: bytes out, whatever comes back in. On a busy machine the kernel takes its time
// with TCP, even to this host: what one side has done may reach the other when the loop of the server is at rest
// already.
class RawClient {
 public:
  RawClient(boost::asio::io_context &context, const Endpoint &server) : context_(context) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(server.port);
    address.sin_addr.s_addr = htonl(server.address.v4());
    const int little = 16 << 10;  // room for what the server sends
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &little, sizeof little);
    connected_ = ::connect(socket_, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
  }
  ~RawClient() { ::close(socket_); }
  RawClient(const RawClient &) = delete;
  RawClient &operator=(const RawClient &) = delete;

  bool connected() const { return connected_; }
  /// Whether the server has closed, and nothing is left to read.
  bool isClosed() const {
    char byte = 0;
    return ::recv(socket_, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
  }
  /// Whether the server closes, if not yet then while it works on.
  bool closes() {
    for (const auto deadline = Clock::now() + patience; !isClosed();) {
      if (!waits(POLLIN, deadline)) return false;
    }
    return true;
  }
  void send(const std::string &bytes) {
    const auto deadline = Clock::now() + patience;
    for (size_t sent = 0; sent < bytes.size();) {
      const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
      if (count > 0) {
        sent += static_cast<size_t>(count);
      } else if (errno != EAGAIN || !waits(POLLOUT, deadline)) {
        return;  // refused to take more
      }
    }
  }
  // All that the server says until it closes, letting it work meanwhile.
  std::string hear() {
    const auto deadline = Clock::now() + patience;
    std::string heard;
    for (char bytes[4096];;) {
      const ssize_t count = ::recv(socket_, bytes, sizeof bytes, MSG_DONTWAIT);
      if (count > 0) {
        heard.append(bytes, static_cast<size_t>(count));
      } else if (count == 0 || errno != EAGAIN) {
        return heard;
      } else if (!waits(POLLIN, deadline)) {
        return heard + "<nothing>";
      }
    }
  }

 private:
  using Clock = std::chrono::steady_clock;

  // Lets the server do what it can, and the kernel the rest. False when it is too late.
  bool waits(short what, Clock::time_point deadline) const {
    constexpr int moment = 10;  // milliseconds
    context_.restart();
    if (context_.poll() > 0) return true;
    pollfd ready{socket_, what, 0};
    ::poll(&ready, 1, moment);
    return Clock::now() < deadline;
  }

  boost::asio::io_context &context_;
  const int socket_ = ::socket(AF_INET, SOCK_STREAM, 0);
  bool connected_ = false;
};

class MetricsServerTest : public ::testing::Test {
 protected:
  MetricsServerTest() { server.endpointIs(anyPort); }

  // In two pieces, the second of which comes in a later turn.
  Control::Reply reply(MetricsFormat format) {
    ++asked;
    std::vector<std::string> pieces{"", std::string(large, 'x') + "end",
                                    format == MetricsFormat::openMetrics ? "open" : "plain"};
    return [this, pieces](const Control::Send &send) mutable {
      const std::string piece = std::exchange(pieces.back(), "");
      if (pieces.size() > 1) pieces.pop_back();
      boost::asio::post(context, [send, piece] { send(piece); });
    };
  }
  std::string ask(const std::string &request) {
    RawClient client(context, server.endpoint());
    client.send(request);
    return client.hear();
  }

  const Endpoint anyPort{Pax::IpGenAddr::v4(0x7f000001), 0};
  boost::asio::io_context context;
  size_t large = 0;
  int asked = 0;
  const MetricsServer::Handler handler = [this](MetricsFormat format) { return reply(format); };
  std::vector<std::string> troubles;
  const MetricsServer::Trouble trouble = [this](const Endpoint &, const std::string &error) {
    troubles.push_back(error);
  };
  MetricsServer server{context, handler, trouble};
};

TEST_F(MetricsServerTest, AnswersGetMetricsAndRefusesTheRest) {
  const std::string open = "application/openmetrics-text; version=1.0.0; charset=utf-8",
                    close = "Connection: close\r\n", body = "\r\n4\r\nopen\r\n3\r\nend\r\n0\r\n\r\n";
  const std::string plain = "text/plain; version=0.0.4; charset=utf-8";
  const auto get = [](const std::string &headers) { return "GET /metrics HTTP/1.1\r\nHost: x\r\n" + headers + "\r\n"; };
  const struct {
    std::string request;
    std::string begins;
    std::string ends;
    bool isAsked = false;
  } cases[] = {
      {get(""), "HTTP/1.1 200 OK\r\nContent-Type: " + open, "Transfer-Encoding: chunked\r\n" + body, true},
      {get("Accept: text/plain;version=0.0.4\r\n"), "HTTP/1.1 200 OK\r\nContent-Type: " + plain,
       "\r\n\r\n5\r\nplain\r\n3\r\nend\r\n0\r\n\r\n", true},
      {"GET /metrics?x=1 HTTP/1.0\r\n\r\n", "HTTP/1.0 200 OK\r\n", "\r\n\r\nopenend", true},
      // One answer a connection, whatever else is sent.
      {get("Connection: keep-alive\r\n") + get(""), "HTTP/1.1 200 OK\r\n", body, true},
      {get("Content-Length: 100000\r\n") + std::string(100000, 'b'), "HTTP/1.1 200 OK\r\n", body, true},
      {"GET / HTTP/1.1\r\n\r\n", "HTTP/1.1 404 Not Found\r\n", "Not Found\n"},
      {"GET /metrics/x HTTP/1.1\r\n\r\n", "HTTP/1.1 404 Not Found\r\n", "Not Found\n"},
      {"POST /metrics HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc", "HTTP/1.1 405 Method Not Allowed\r\n", "Allowed\n"},
      {"HEAD /metrics HTTP/1.1\r\n\r\n", "HTTP/1.1 405 Method Not Allowed\r\n", "Allowed\n"},
      {"BREW /metrics HTTP/1.1\r\n\r\n", "HTTP/1.1 405 Method Not Allowed\r\n", "Allowed\n"},
      {std::string("\0\xff\r\n\r\n", 6), "HTTP/1.1 400 Bad Request\r\n", "Bad Request\n"},
      {"{\"verb\": \"show\"}\n\r\n\r\n", "HTTP/1.1 400 Bad Request\r\n", "Bad Request\n"},
      {get("X: " + std::string(1 << 20, 'x') + "\r\n"), "HTTP/1.1 431 Request Header Fields Too Large\r\n", "Large\n"},
      {"GET /" + std::string(1 << 20, 'x') + " HTTP/1.1\r\n\r\n", "HTTP/1.1 431 ", "Large\n"},
  };
  for (const auto &[request, begins, ends, isAsked] : cases) {
    asked = 0;
    const std::string answer = ask(request);
    EXPECT_TRUE(answer.starts_with(begins) && answer.ends_with(ends)) << request.substr(0, 100) << "\n" << answer;
    EXPECT_TRUE(answer.find(close) != answer.npos || answer.starts_with("HTTP/1.0 200")) << answer;
    EXPECT_EQ(asked, isAsked ? 1 : 0) << request.substr(0, 100);
  }
  large = 100000;
  RawClient talkative(context, server.endpoint());
  talkative.send(get("") + std::string(100000, 'x'));
  while (context.poll() > 0) {
  }
  EXPECT_TRUE(talkative.hear().ends_with("end\r\n0\r\n\r\n")) << "what was not read must not cut the answer off";
}

TEST_F(MetricsServerTest, ClientsThatHoldOnMakeRoomForOthers) {
  constexpr size_t tooMany = 5;
  using Clients = std::vector<std::unique_ptr<RawClient>>;
  const auto clientsThatSend = [&](const std::string &request) {
    Clients clients;
    for (size_t i = 0; i < MetricsServer::mostClients + tooMany; ++i) {
      clients.push_back(std::make_unique<RawClient>(context, server.endpoint()));
      clients.back()->send(request);
    }
    while (context.poll() > 0) {
    }
    return clients;
  };
  for (const char *request : {"", "GET /metr"}) {
    const Clients clients = clientsThatSend(request);
    for (size_t i = 0; i < tooMany; ++i) EXPECT_TRUE(clients[i]->closes()) << request << i;
    for (size_t i = tooMany; i < clients.size(); ++i) EXPECT_FALSE(clients[i]->isClosed()) << request << i;
  }
  large = 8 << 20;  // more than sockets hold
  const Clients deaf = clientsThatSend("GET /metrics HTTP/1.1\r\n\r\n");
  large = 0;
  EXPECT_TRUE(ask("GET /metrics HTTP/1.1\r\n\r\n").ends_with("end\r\n0\r\n\r\n"));
}

TEST_F(MetricsServerTest, MovesWhenToldSoAndListensNowhereElse) {
  const Endpoint first = server.endpoint();
  RawClient dropped(context, first);
  dropped.send("GET /");
  MetricsServer second(context, handler, trouble);
  second.endpointIs(first);
  EXPECT_TRUE(second.endpoint().empty()) << "somebody listens there";
  EXPECT_EQ(troubles, std::vector<std::string>{"Address already in use"});
  EXPECT_TRUE(ask("GET /metrics HTTP/1.0\r\n\r\n").ends_with("end"));
  server.endpointIs(first);
  EXPECT_TRUE(ask("GET /metrics HTTP/1.0\r\n\r\n").ends_with("end")) << "the endpoint is the same";
  server.endpointIs({});
  EXPECT_TRUE(server.endpoint().empty());
  EXPECT_FALSE(RawClient(context, first).connected());
  EXPECT_TRUE(dropped.closes());
  second.endpointIs({});
  second.endpointIs(first);
  EXPECT_EQ(second.endpoint(), first) << "it was free again";
  server.endpointIs({Pax::IpGenAddr::v6(0, 1), first.port});
  EXPECT_EQ(server.endpoint(), (Endpoint{Pax::IpGenAddr::v6(0, 1), first.port}));
}

TEST_F(MetricsServerTest, TriesAgainUntilTheAddressIsThereAndTellsOnlyThatItBeganAndEnded) {
  const Endpoint taken = server.endpoint();
  MetricsServer second(context, handler, trouble, std::chrono::milliseconds(1));
  second.endpointIs(taken);
  for (int tries = 0; tries < 3; ++tries) ASSERT_EQ(context.run_one_for(patience), 1u);
  EXPECT_TRUE(second.endpoint().empty());
  EXPECT_EQ(troubles, std::vector<std::string>{"Address already in use"});
  server.endpointIs({});
  while (second.endpoint().empty()) ASSERT_EQ(context.run_one_for(patience), 1u);
  EXPECT_EQ(second.endpoint(), taken);
  EXPECT_EQ(troubles, (std::vector<std::string>{"Address already in use", ""}));
  RawClient client(context, taken);
  client.send("GET /metrics HTTP/1.0\r\n\r\n");
  EXPECT_TRUE(client.hear().ends_with("end"));
}

TEST(MetricsFormat, IsWhatTheClientLikesBest) {
  const std::pair<const char *, MetricsFormat> cases[] = {
      {"", MetricsFormat::openMetrics},
      {"*/*", MetricsFormat::openMetrics},
      {"text/html,*/*;q=0.8", MetricsFormat::openMetrics},
      {"text/plain", MetricsFormat::prometheus},
      {"text/plain;version=0.0.4;q=1, */*;q=0.1", MetricsFormat::prometheus},
      {"application/openmetrics-text; version=1.0.0; q=0.5 , text/plain ; q=0.75", MetricsFormat::prometheus},
      {"application/openmetrics-text;version=1.0.0,application/openmetrics-text;version=0.0.1;q=0.75,"
       "text/plain;version=0.0.4;q=0.5,*/*;q=0.1",
       MetricsFormat::openMetrics},
      {",;,;q=,text/plain;q=x;;q", MetricsFormat::prometheus},
  };
  for (const auto &[accept, format] : cases) EXPECT_EQ(metricsFormatFrom(accept), format) << accept;
}

}  // namespace
}  // namespace Routing::Pim::Bsr
