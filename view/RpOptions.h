/// The options of an RP, as events tell them.
#pragma once

#include <string>

#include "platform/pim/RpCandidateStatus.h"

namespace Routing::Pim::Bsr {

/// What there is to tell of an RP besides its times. A hold time of 0 is not known any more: the RP is about to go.
struct RpOptions {
  explicit RpOptions(const Pim::RpCandidate &rp)
      : mode(rp.pimMode()), priority(rp.priority()), holdTime(rp.holdTime()), hashMaskLen(rp.hashMaskLen()) {}

  Mode mode;
  RpPriority priority;
  CrpHoldTime holdTime;
  RpHashMaskLen hashMaskLen;
};

/// "sparsemode priority 7 holdTime 180 hashMaskLen 30"
std::string textOf(const RpOptions &options);
/// What differs, after the name of the RP: "is now bidir with priority 9; it was sparsemode with priority 7", or "now
/// has priority 9; it had priority 7". Empty where nothing does.
std::string changeInWords(const RpOptions &now, const RpOptions &before);

}  // namespace Routing::Pim::Bsr
