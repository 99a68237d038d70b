/// A thread beside the event loop.
#pragma once

#include <memory>
#include <thread>

#include "platform/linux/EventLoop.h"
#include "platform/orb/Background.h"

namespace Linux {

/// Does each piece of work on a thread of its own, or at once where the system grants no thread. Destroyed before the
/// loop; it waits for what is under way then, and calls no `done`.
class Worker : public Orb::Background {
 public:
  explicit Worker(EventLoop &loop) : loop_(loop) {}
  ~Worker() override;
  void start(std::function<void()> work, std::function<void()> done) override;
  void finish() override;

 private:
  EventLoop &loop_;
  std::thread thread_;
  std::function<void()> done_;                                         // null when nothing is under way
  std::shared_ptr<uint64_t> current_ = std::make_shared<uint64_t>(0);  // counts the pieces of work
};

}  // namespace Linux
