#include "daemon/ControlServer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "daemon/control/Request.h"

namespace Routing::Pim::Bsr {

namespace asio = boost::asio;
using Socket = asio::local::stream_protocol::socket;
using boost::system::error_code;

namespace {

constexpr std::chrono::seconds idleMost{10};   // until the next request is complete
constexpr int queueMost = 128;                 // of clients that wait to be taken, so that nobody waits long
constexpr std::chrono::seconds writeMost{30};  // until the next piece of a reply is made and taken

std::string tooMany() { return "too many clients: " + std::to_string(ControlServer::mostClients) + " are served"; }

std::runtime_error failure(const std::string &path, const std::string &what) {
  return std::runtime_error("control socket " + path + ": " + what);
}

// Whether an agent listens there.
bool isAlive(asio::io_context &context, const std::string &path) {
  Socket probe(context);
  error_code error;
  probe.connect(path, error);
  // A busy agent whose queue is full: try_again.
  return !error || error == asio::error::try_again || error == asio::error::would_block;
}

void makeRoom(asio::io_context &context, const std::string &path) {
  std::error_code ignored;
  const auto directory = std::filesystem::path(path).parent_path();
  if (!directory.empty()) std::filesystem::create_directories(directory, ignored);
  const auto status = std::filesystem::symlink_status(path, ignored);
  if (!std::filesystem::exists(status)) return;
  if (!std::filesystem::is_socket(status)) throw failure(path, "a file of that name exists and is not a socket");
  if (isAlive(context, path)) throw failure(path, "another agent is listening there");
  ::unlink(path.c_str());
}

}  // namespace

// One client. Lives as long as an operation is under way for it.
class ControlServer::Session : public std::enable_shared_from_this<Session> {
 public:
  Session(Socket socket, std::shared_ptr<const Handler> handler)
      : socket_(std::move(socket)), deadline_(socket_.get_executor()), handler_(std::move(handler)) {}

  void read() {
    deadlineIs(idleMost);
    asio::async_read_until(
        socket_, asio::dynamic_buffer(input_, Control::longestRequest), '\n',
        [self = shared_from_this()](const error_code &error, size_t length) { self->readDone(error, length); });
  }

  void close() {
    error_code ignored;
    deadline_.cancel();
    socket_.close(ignored);
    reply_ = nullptr;  // it may wait for a piece with a share of this
  }

  // Closes it with that error, if the client's side of the socket has room for it.
  void refuse(const std::string &error) {
    say(socket_, error);
    close();
  }

  /// Whether it has not asked anything yet.
  bool isSilent() const { return !hasAsked_; }

  // The line finds room in a socket that is new, or is lost; nobody waits for the client to read it.
  static void say(Socket &socket, const std::string &error) {
    const std::string line = Control::errorLine(error) + '\n';
    error_code ignored;
    socket.non_blocking(true, ignored);
    socket.send(asio::buffer(line), 0, ignored);
  }

 private:
  void readDone(const error_code &error, size_t length) {
    last_ = error == asio::error::not_found;
    if (!last_ && (error || !socket_.is_open())) return close();
    hasAsked_ = true;
    if (last_) {
      reply_ = Control::replyOf(Control::errorLine("the request is too long: it may have " +
                                                   std::to_string(Control::longestRequest) + " bytes"));
    } else {
      reply_ = (*handler_)(std::string_view(input_).substr(0, length - 1));
      input_.erase(0, length);
    }
    watchEnd();
    makePiece();
  }

  // A client that leaves is noticed while it is sent nothing, too.
  void watchEnd() {
    if (std::exchange(endWatched_, true)) return;
    socket_.async_wait(Socket::wait_error, [weak = weak_from_this()](const error_code &error) {
      const auto self = weak.lock();
      if (self && !error) self->close();
    });
  }

  void makePiece() {
    deadlineIs(writeMost);
    reply_([self = shared_from_this()](std::string piece) { self->write(std::move(piece)); });
  }

  void write(std::string piece) {
    const bool end = piece.empty();
    output_ = end ? "\n" : std::move(piece);
    asio::async_write(socket_, asio::buffer(output_),
                      [self = shared_from_this(), end](const error_code &error, size_t) {
                        if (error || !self->socket_.is_open()) return self->close();
                        if (!end) return self->makePiece();
                        self->reply_ = nullptr;
                        self->last_ ? self->close() : self->read();
                      });
  }

  void deadlineIs(std::chrono::seconds seconds) {
    deadline_.expires_after(seconds);
    deadline_.async_wait([weak = weak_from_this()](const error_code &error) {
      const auto self = weak.lock();
      if (!self || error) return;
      self->reply_ ? self->close()
                   : self->refuse("no request came for " + std::to_string(idleMost.count()) + " seconds");
    });
  }

  Socket socket_;
  asio::steady_timer deadline_;
  const std::shared_ptr<const Handler> handler_;
  std::string input_;
  Control::Reply reply_;
  std::string output_;  // a piece of it
  bool last_ = false;   // after it the client is closed
  bool hasAsked_ = false;
  bool endWatched_ = false;
};

// The listening socket and its clients. Operations that are under way hold it weakly.
class ControlServer::Listener : public std::enable_shared_from_this<Listener> {
 public:
  Listener(asio::io_context &context, const std::string &path, Handler handler)
      : path_(path),
        handler_(std::make_shared<const Handler>(std::move(handler))),
        acceptor_(context),
        pause_(context) {}

  void listen();
  void accept();
  void close();

 private:
  void serve(Socket socket);
  /// Makes room for another client, if one is there that says nothing.
  void dropSilent();

  const std::string path_;
  const std::shared_ptr<const Handler> handler_;
  asio::local::stream_protocol::acceptor acceptor_;
  asio::steady_timer pause_;                      // after an accept that failed, for want of descriptors say
  std::vector<std::weak_ptr<Session>> sessions_;  // oldest first
  dev_t device_ = 0;                              // these two tell our socket from another one of its name
  ino_t inode_ = 0;
};

ControlServer::ControlServer(asio::io_context &context, const std::string &path, Handler handler)
    : listener_(std::make_shared<Listener>(context, path, std::move(handler))) {
  makeRoom(context, path);
  listener_->listen();
  listener_->accept();
}

ControlServer::~ControlServer() { listener_->close(); }

void ControlServer::Listener::close() {
  for (const auto &weak : sessions_) {
    if (const auto session = weak.lock()) session->close();
  }
  error_code ignored;
  acceptor_.close(ignored);
  pause_.cancel();
  struct stat now {};
  if (::lstat(path_.c_str(), &now) == 0 && now.st_dev == device_ && now.st_ino == inode_) ::unlink(path_.c_str());
}

void ControlServer::Listener::listen() {
  // The file is made with its mode, so that nobody else may connect, not even for a moment.
  const mode_t before = ::umask(0117);
  try {
    acceptor_.open();
    acceptor_.bind(path_);
    ::umask(before);
    acceptor_.listen(queueMost);
  } catch (const std::exception &error) {
    ::umask(before);
    throw failure(path_, error.what());
  }
  struct stat made {};
  if (::lstat(path_.c_str(), &made) == 0) {
    device_ = made.st_dev;
    inode_ = made.st_ino;
  }
}

void ControlServer::Listener::accept() {
  acceptor_.async_accept([weak = weak_from_this()](const error_code &error, Socket socket) {
    const auto self = weak.lock();
    if (!self || error == asio::error::operation_aborted) return;
    if (!error) {
      self->serve(std::move(socket));
      return self->accept();
    }
    self->pause_.expires_after(std::chrono::seconds(1));
    self->pause_.async_wait([weak](const error_code &cancelled) {
      const auto waiting = weak.lock();
      if (waiting && !cancelled) waiting->accept();
    });
  });
}

void ControlServer::Listener::dropSilent() {
  const auto found = std::find_if(sessions_.begin(), sessions_.end(), [](const auto &weak) {
    const auto session = weak.lock();
    return session && session->isSilent();
  });
  if (found == sessions_.end()) return;
  found->lock()->refuse(tooMany());
  sessions_.erase(found);
}

void ControlServer::Listener::serve(Socket socket) {
  std::erase_if(sessions_, [](const auto &session) { return session.expired(); });
  if (sessions_.size() >= mostClients) dropSilent();
  if (sessions_.size() >= mostClients) return Session::say(socket, tooMany());
  const auto session = std::make_shared<Session>(std::move(socket), handler_);
  sessions_.push_back(session);
  session->read();
}

}  // namespace Routing::Pim::Bsr
