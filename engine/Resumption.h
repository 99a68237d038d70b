/// How an election that outlived a restart of the agent reaches the neighbors.
///
/// At the start no neighbor is known; then they turn up one after the other within ten seconds, which
/// the first Hellos take. So the resumed BSR sends a message at once, with the first Hello if nothing
/// could go out before, and when the ten seconds are over; after that every ten seconds until one goes
/// out. Then the election has settled.
#pragma once

#include <optional>

#include "platform/orb/Clock.h"

namespace Routing::Pim::Bsr {

/// A plain value, a member of the zone's candidate machine. Times are absolute seconds of one clock. It
/// only computes: it arms no timer and sends nothing.
class Resumption {
 public:
  explicit Resumption(double settling) : settling_(settling) {}

  void begin(double now) {
    since_ = now;
    heard_ = false;
  }
  void end() { since_.reset(); }
  /// A message has been originated; `wentOut` on any interface.
  void originated(double now, bool wentOut) {
    heard_ |= wentOut;
    if (since_ && wentOut && now >= *since_ + settling_) end();
  }

  /// Whether there is something to tell, and nobody has heard it yet.
  bool isUnheard() const { return since_ && !heard_; }
  /// By when the next message has to follow one that was originated now.
  double next(double now) const {
    if (!since_) return Orb::never;
    return now < *since_ + settling_ ? *since_ + settling_ : now + settling_;
  }

 private:
  const double settling_;
  std::optional<double> since_;  // the start, until the election has settled
  bool heard_ = false;           // a message went out
};

}  // namespace Routing::Pim::Bsr
