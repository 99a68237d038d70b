/// Readiness of a file descriptor.
#pragma once

#include <functional>
#include <memory>

namespace Linux {

class EventLoop;

/// Calls `ready` in each turn of the loop in which the descriptor can be read, again in the next one if something is
/// left unread. Does not own the descriptor, and must be destroyed before that is closed. Never calls after its own
/// destruction, which may happen inside the call.
class Watch {
 public:
  Watch(EventLoop &loop, int descriptor, std::function<void()> ready);
  ~Watch();
  Watch(const Watch &) = delete;
  Watch &operator=(const Watch &) = delete;

 private:
  struct State;
  static void wait(const std::shared_ptr<State> &state);
  std::shared_ptr<State> state_;
};

}  // namespace Linux
