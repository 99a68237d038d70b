#include "platform/linux/Watch.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

namespace Linux {

struct Watch::State {
  State(boost::asio::io_context &context, int descriptor, std::function<void()> ready)
      : stream(context, descriptor), ready(std::move(ready)) {}
  ~State() {
    if (stream.is_open()) stream.release();
  }
  boost::asio::posix::stream_descriptor stream;
  const std::function<void()> ready;
};

Watch::Watch(boost::asio::io_context &context, int descriptor, std::function<void()> ready)
    : state_(std::make_shared<State>(context, descriptor, std::move(ready))) {
  wait(state_);
}

Watch::~Watch() { state_->stream.release(); }

// The handler holds the state weakly: what is queued when the watch goes finds nothing to call.
void Watch::wait(const std::shared_ptr<State> &state) {
  state->stream.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                           [weak = std::weak_ptr(state)](const boost::system::error_code &error) {
                             const auto present = weak.lock();
                             if (!present || error) return;
                             present->ready();
                             if (present->stream.is_open()) wait(present);
                           });
}

}  // namespace Linux
