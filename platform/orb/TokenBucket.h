/// Limits how often something is done: a burst at once, then one more in every interval.
#pragma once

#include <algorithm>
#include <cstdint>

namespace Orb {

/// Full to begin with. A plain value; times are absolute seconds of one clock.
class TokenBucket {
 public:
  TokenBucket(uint32_t burst, double interval) : interval_(interval), slack_((burst - 1) * interval) {}

  /// When there is a token; a past time when there is one now.
  double readyAt() const { return empty_ - slack_; }
  /// Takes one. False when there is none.
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
