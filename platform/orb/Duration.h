/// Durations as people read them.
#pragma once

#include <string>

namespace Orb {

/// "250ms", "12s", "2m03s", "1h02m", "3d04h": rounded down to the smaller of its two units; "0s" of a negative one.
std::string durationText(double seconds);

}  // namespace Orb
