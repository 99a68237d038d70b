/// Tells whether two plans are the same.
#pragma once

#include <string>

#include "plan/Plan.h"

namespace Planning {

/// 16 hexadecimal digits, of everything that a run comes from, this program's version included. Comments and the order
/// of members make no difference.
std::string digestOf(const Plan &plan);

}  // namespace Planning
