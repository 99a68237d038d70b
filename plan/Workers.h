/// Spreads numbered pieces of work over processes.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/linux/Descriptor.h"

namespace Planning {

/// Each process is a copy of this one that does a batch of pieces, one after the other, and ends. This one has a single
/// thread, which waits meanwhile. A process that ends too early is told; the piece that it was at is tried once more,
/// and then given up. When this one ends, however it does, all of them end.
class Workers {
 public:
  struct Tasks {
    /// In a process: makes the line, without a newline. What it throws ends the process.
    std::function<std::string(size_t number)> work;
    /// In this one: takes it, in whatever order pieces are done.
    std::function<void(size_t number, const std::string &line)> take;
    /// In this one: a process ended at this piece, for this reason; the piece is given up or not.
    std::function<void(size_t number, const std::string &reason, bool givenUp)> lost;
  };

  Workers(size_t jobs, Tasks tasks) : jobs_(jobs), tasks_(std::move(tasks)) {}

  /// Returns when each piece is done or given up. Throws std::system_error where processes cannot be made.
  void run(const std::vector<size_t> &numbers);

 private:
  struct Worker {
    int process = 0;
    Linux::Descriptor lines;
    std::vector<size_t> batch;
    size_t done = 0;  ///< of the batch
    std::string text;
  };
  void start();
  [[noreturn]] void work(const std::vector<size_t> &batch, int to) const;
  bool read(Worker &worker);
  void finish(Worker &worker);

  const size_t jobs_;
  const Tasks tasks_;
  std::deque<size_t> todo_;
  std::vector<Worker> workers_;
  std::map<size_t, size_t> tries_;  // of those at which a process ended
};

}  // namespace Planning
