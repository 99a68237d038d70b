#include "platform/linux/Watch.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include "platform/linux/EventLoop.h"

namespace Linux {

struct Watch::State {
  State(EventLoop &watching, int descriptor, std::function<void()> ready)
      : loop(watching), stream(watching.context(), descriptor), ready(std::move(ready)) {}
  ~State() {
    if (stream.is_open()) stream.release();
  }
  const EventLoop &loop;
  boost::asio::posix::stream_descriptor stream;
  const std::function<void()> ready;
};

Watch::Watch(EventLoop &loop, int descriptor, std::function<void()> ready)
    : state_(std::make_shared<State>(loop, descriptor, std::move(ready))) {
  wait(state_);
}

Watch::~Watch() { state_->stream.release(); }

// The handler holds the state weakly: what is queued when the watch goes finds nothing to call.
void Watch::wait(const std::shared_ptr<State> &state) {
  state->stream.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                           [weak = std::weak_ptr(state)](const boost::system::error_code &error) {
                             const auto present = weak.lock();
                             if (!present || error) return;
                             present->loop.workBegins();
                             present->ready();
                             if (present->stream.is_open()) wait(present);
                           });
}

}  // namespace Linux
