/// Work beside the loop.
#pragma once

#include <functional>

namespace Orb {

/// Does one thing at a time that would hold the loop up. The work may use only what nobody else holds: entities and
/// traces are the loop's. Its owner outlives whoever starts work.
class Background {
 public:
  virtual ~Background() = default;
  /// Does `work`, which must not throw, and then calls `done` from the loop. Nothing else may be under way.
  virtual void start(std::function<void()> work, std::function<void()> done) = 0;
  /// Waits for the work that is under way, if any, and calls its `done`.
  virtual void finish() = 0;
};

}  // namespace Orb
