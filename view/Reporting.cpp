#include "view/Reporting.h"

#include <algorithm>

namespace Routing::Pim::Bsr {

void Reporting::tell(Event event) {
  Kind &kind = kind_[event.kind];
  if (!kind.bucket.take(now())) {
    ++kind.skipped;
    kind.worst = std::min(kind.worst, event.severity);
    if (!skippedTimer_.armed()) skippedTimer_.timeMinIs(now() + skippedAfter);
    return;
  }
  event.vrf = vrf_;
  if (vrf_.text() != L3::defaultVrf) event.text = sentence("VRF ", vrf_, ": ", event.text);
  log_.tell(std::move(event));
}

void Reporting::tellSkipped() {
  for (auto &[kind, each] : kind_) {
    if (each.skipped == 0) continue;
    Event event{.kind = EventKind::eventsSkipped, .severity = each.worst};
    event.text = sentence("More events of kind ", kind, " were only counted: ", each.skipped);
    each.skipped = 0;
    each.worst = Severity::debug;
    tell(std::move(event));
  }
}

}  // namespace Routing::Pim::Bsr
