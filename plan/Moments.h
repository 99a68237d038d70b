/// The story in moments: what happens at one time is one, with one number and one picture.
#pragma once

#include <string>
#include <vector>

#include "plan/Plan.h"

namespace Planning {

struct Moment {
  double at = 0;
  std::string text;       ///< "The agent of r1 crashes; Link r1-r2 is cut"
  std::string shortText;  ///< "r1 crashes; r1-r2 is cut"
};

/// In the order of time; the numbers that users see begin with 1.
std::vector<Moment> momentsOf(const Plan &plan);

}  // namespace Planning
