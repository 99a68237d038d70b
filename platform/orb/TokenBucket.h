/// Limits how often something is done: a burst at once, then one more in every interval.
///
/// Whoever is limited owns the bucket and asks it before each action. The bucket arms no timer: when there is no
/// token, readyAt() says when to try again.
#pragma once

#include <algorithm>
#include <cstdint>

namespace Orb {

/// A plain value, full to begin with. Times are absolute seconds of one clock.
class TokenBucket {
 public:
  /// `burst` is at least 1; `interval` is in seconds.
  TokenBucket(uint32_t burst, double interval) : interval_(interval), slack_((burst - 1) * interval) {}

  /// When the next token is there; a time that has passed if there is one now.
  double readyAt() const { return empty_ - slack_; }
  /// Takes a token. False, with nothing changed, when there is none.
  bool take(double now) {
    if (now < readyAt()) return false;
    empty_ = std::max(empty_, now) + interval_;
    return true;
  }

 private:
  double interval_;
  double slack_;
  double empty_ = 0;  // a steady taker of one an interval would have got to here
};

}  // namespace Orb
