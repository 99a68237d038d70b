/// What was refused, as a reason why something is not known.
#pragma once

#include <functional>

#include "view/Drops.h"
#include "view/Explain.h"

namespace Routing::Pim::Bsr {

/// Says for each kind of packet that was refused in the VRF within the last hour, echoes aside, and that `concerns` the
/// question: from whom, why, how often, and what to look at. Of many, those refused last. What was refused before
/// `accepted`, the last time when all was well, stands in the way no more. Returns how many kinds it has told.
size_t sayRefusals(const VrfView &view, const std::function<bool(const Drops::Key &drop)> &concerns, double accepted,
                   Statements &statements);

}  // namespace Routing::Pim::Bsr
