#include "platform/linux/LineWriter.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace Linux {

namespace {

// What a pipe takes at once after it has said that it can be written.
constexpr size_t pipePiece = 4096;

}  // namespace

// A pipe or a terminal is opened anew, since waiting or not is a matter of the open file, which others share. That may
// be denied; then poll() tells whether writing would wait, unless another process writes between the two.
LineWriter::LineWriter(int descriptor) : descriptor_(descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || S_ISREG(status.st_mode)) return;
  if (S_ISSOCK(status.st_mode)) {
    kind_ = Kind::socket;
    return;
  }
  const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
  const int own = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_APPEND | O_NOCTTY | O_CLOEXEC);
  kind_ = own < 0 ? Kind::polled : Kind::own;
  if (own >= 0) descriptor_ = own;
}

LineWriter::~LineWriter() {
  if (kind_ == Kind::own) ::close(descriptor_);
}

void LineWriter::line(std::string_view text) {
  if (!flush()) {
    ++dropped_;
    return;
  }
  if (dropped_ != told_) rest_ = std::to_string(dropped_ - told_) + " lines were dropped here: nobody read them\n";
  told_ = dropped_;
  rest_.append(text).append("\n");
  flush();
}

// False while something is left.
bool LineWriter::flush() {
  size_t done = 0;
  while (done < rest_.size()) {
    const long written = write(std::string_view(rest_).substr(done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) break;
    done += static_cast<size_t>(written);
  }
  rest_.erase(0, done);
  return rest_.empty();
}

long LineWriter::write(std::string_view text) const {
  switch (kind_) {
    case Kind::socket: return ::send(descriptor_, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    case Kind::polled: {
      pollfd wanted{descriptor_, POLLOUT, 0};
      if (::poll(&wanted, 1, 0) <= 0) return 0;
      text = text.substr(0, pipePiece);
      break;
    }
    case Kind::plain:
    case Kind::own: break;
  }
  return ::write(descriptor_, text.data(), text.size());
}

}  // namespace Linux
