#pragma once

#include <limits>

namespace Orb {

/// The time of a timer that is not armed: later than any other.
inline constexpr double never = std::numeric_limits<double>::infinity();

/// The clock of the platform, in seconds. All times of the system, status included, are of this clock. It never
/// goes back and starts well above zero, so zero can mean unset. On Linux it is the boot clock, which goes on
/// while the agent restarts and the machine is suspended. It says nothing about the time of day.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual double now() const = 0;
};

}  // namespace Orb
