#include "daemon/ControlServer.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <boost/asio/io_context.hpp>
#include <fstream>

#include "tests/daemon/TemporaryDirectory.h"

namespace Routing::Pim::Bsr {
namespace {

constexpr std::chrono::seconds patience(60);

// A client of which nothing is expected: bytes out, whatever comes back in.
class RawClient {
 public:
  RawClient(boost::asio::io_context &context, const std::string &path) : context_(context) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
    EXPECT_EQ(::connect(socket_, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
  }
  ~RawClient() { ::close(socket_); }

  void send(const std::string &bytes) {
    for (size_t sent = 0; sent < bytes.size();) {
      const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count > 0) {
        sent += static_cast<size_t>(count);
      } else if (errno != EAGAIN || context_.run_one_for(patience) == 0) {
        return;  // refused to take more
      }
    }
  }
  void endSending() const { ::shutdown(socket_, SHUT_WR); }

  // What the server says until `lines` lines are there or it closes, letting it work meanwhile.
  std::string hear(int lines) {
    std::string heard;
    for (char byte = 0; lines > 0;) {
      const ssize_t count = ::recv(socket_, &byte, 1, 0);
      if (count == 1) {
        heard += byte;
        lines -= byte == '\n' ? 1 : 0;
      } else if (count == 0 || errno != EAGAIN) {
        return heard + "<closed>";
      } else if (context_.run_one_for(patience) == 0) {
        return heard + "<nothing>";
      }
    }
    return heard;
  }

 private:
  boost::asio::io_context &context_;
  int socket_ = -1;
};

class ControlServerTest : public ::testing::Test {
 protected:
  std::unique_ptr<ControlServer> serve() {
    return std::make_unique<ControlServer>(context, path, [](std::string_view request) {
      // In two pieces.
      return [pieces = std::vector<std::string>{">", "<" + std::string(request)}](const Control::Send &send) mutable {
        if (pieces.empty()) return send("");
        const std::string piece = pieces.back();
        pieces.pop_back();
        send(piece);
      };
    });
  }

  ::Test::TemporaryDirectory directory;
  const std::string path = directory.path() + "/run/agent.sock";
  boost::asio::io_context context;
};

TEST_F(ControlServerTest, EachLineGetsItsReplyHoweverItArrives) {
  const auto server = serve();
  RawClient client(context, path);
  client.send("one\ntwo\nthr");
  EXPECT_EQ(client.hear(2), "<one>\n<two>\n");
  client.send("ee\n");
  client.endSending();
  EXPECT_EQ(client.hear(2), "<three>\n<closed>");
}

TEST_F(ControlServerTest, ClientsThatMisbehaveHarmOnlyThemselves) {
  const auto server = serve();
  RawClient silent(context, path);
  RawClient halfClosed(context, path);
  halfClosed.send("no end of line");
  halfClosed.endSending();
  RawClient huge(context, path);
  huge.send(std::string(1 << 20, 'x'));
  { RawClient(context, path).send("gone before the reply\n"); }
  RawClient good(context, path);
  good.send("good\n");
  EXPECT_EQ(good.hear(1), "<good>\n");
  EXPECT_EQ(halfClosed.hear(1), "<closed>");
  EXPECT_EQ(huge.hear(2), "{\"error\":\"the request is too long: it may have 65536 bytes\"}\n<closed>");
}

TEST_F(ControlServerTest, AClientTooManyIsToldSoAndTheNextOneIsServedWhenOneHasLeft) {
  const auto server = serve();
  std::vector<std::unique_ptr<RawClient>> clients;
  for (size_t i = 0; i < ControlServer::mostClients; ++i) {
    clients.push_back(std::make_unique<RawClient>(context, path));
    clients.back()->send("x\n");
    EXPECT_EQ(clients.back()->hear(1), "<x>\n");
  }
  const std::string refusal = "{\"error\":\"too many clients: 64 are served\"}\n<closed>";
  for (int i = 0; i < 3; ++i) {
    RawClient(context, path);  // gone, or deaf
    EXPECT_EQ(RawClient(context, path).hear(2), refusal);
  }
  clients.front()->endSending();
  EXPECT_EQ(clients.front()->hear(1), "<closed>");
  RawClient next(context, path);
  next.send("y\n");
  EXPECT_EQ(next.hear(1), "<y>\n");
}

TEST_F(ControlServerTest, ANewClientTakesThePlaceOfTheOldestThatSaysNothing) {
  const auto server = serve();
  RawClient asked(context, path);
  asked.send("x\n");
  EXPECT_EQ(asked.hear(1), "<x>\n");
  std::vector<std::unique_ptr<RawClient>> silent;
  for (size_t i = 0; i < 3 * ControlServer::mostClients; ++i) {
    silent.push_back(std::make_unique<RawClient>(context, path));
    if (i % 2) silent.back()->send("half a line");
    context.poll();
  }
  RawClient next(context, path);
  next.send("y\n");
  EXPECT_EQ(next.hear(1), "<y>\n");
  asked.send("z\n");
  EXPECT_EQ(asked.hear(1), "<z>\n");
  EXPECT_EQ(silent.front()->hear(2), "{\"error\":\"too many clients: 64 are served\"}\n<closed>");
}

TEST_F(ControlServerTest, AReplyEndsWithItsClientWhateverItWaitsFor) {
  auto reply = std::make_shared<int>(0);
  const std::weak_ptr<int> lives = reply;
  std::vector<Control::Send> waiting;
  ControlServer server(context, path, [&waiting, &reply](std::string_view) {
    return [&waiting, held = std::move(reply)](const Control::Send &send) { waiting.push_back(send); };
  });
  {
    RawClient client(context, path);
    client.send("x\n");
    while (waiting.empty()) ASSERT_GT(context.run_one_for(patience), 0u);
  }
  while (!lives.expired()) ASSERT_GT(context.run_one_for(patience), 0u);
  waiting.front()("too late");
  RawClient next(context, path);
  next.send("y\n");
  while (waiting.size() < 2) ASSERT_GT(context.run_one_for(patience), 0u);
  waiting.back()("yes\n");
  EXPECT_EQ(next.hear(1), "yes\n");
}

TEST_F(ControlServerTest, TheSocketIsForOwnerAndGroupAndReplacesAStaleOneOnly) {
  auto first = serve();
  struct stat made {};
  ASSERT_EQ(::stat(path.c_str(), &made), 0);
  EXPECT_EQ(made.st_mode & 07777, 0660u);
  EXPECT_THROW(serve(), std::runtime_error);
  // The file of an agent that was killed: a socket on which nobody listens.
  ASSERT_EQ(::rename(path.c_str(), (path + ".kept").c_str()), 0);
  first.reset();
  ASSERT_EQ(::rename((path + ".kept").c_str(), path.c_str()), 0);
  auto second = serve();
  RawClient client(context, path);
  client.send("x\n");
  EXPECT_EQ(client.hear(1), "<x>\n");
  second.reset();
  EXPECT_NE(::access(path.c_str(), F_OK), 0);
}

}  // namespace
}  // namespace Routing::Pim::Bsr
