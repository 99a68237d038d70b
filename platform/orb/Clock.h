#pragma once

#include <limits>

namespace Orb {

/// The time at which nothing fires.
inline constexpr double never = std::numeric_limits<double>::infinity();

/// Seconds of the platform's clock. Never goes back, starts well above zero, and on Linux survives
/// restarts of the agent and suspends of the machine.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual double now() const = 0;
};

}  // namespace Orb
