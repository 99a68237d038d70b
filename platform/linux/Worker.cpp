#include "platform/linux/Worker.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <system_error>
#include <utility>

#include "platform/tracelet/Require.h"

namespace Linux {

Worker::~Worker() {
  if (thread_.joinable()) thread_.join();
}

// What is posted finds nothing to do when the worker is gone, or somebody has waited for the work meanwhile.
void Worker::start(std::function<void()> work, std::function<void()> done) {
  REQUIRE(!done_);
  done_ = std::move(done);
  const auto tell = [this, number = ++*current_, weak = std::weak_ptr(current_)] {
    const auto current = weak.lock();
    if (!current || *current != number) return;
    loop_.workBegins();
    finish();
  };
  try {
    thread_ = std::thread([&context = loop_.context(), tell, work] {
      work();
      boost::asio::post(context, tell);
    });
  } catch (const std::system_error &) {
    work();
    boost::asio::post(loop_.context(), tell);
  }
}

void Worker::finish() {
  if (thread_.joinable()) thread_.join();
  if (done_) std::exchange(done_, nullptr)();
}

}  // namespace Linux
