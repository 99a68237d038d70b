#include "engine/Reactors.h"

#include "engine/RpSetStore.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::Sm");
}

void PimBsrSm::KivBsr::handleHashMaskLen() {
  const Pax::IpGenPrefix &zone = notifier()->zone();
  const uint32_t length = notifier()->hashMaskLen();
  VRF_TRACE_ENTRY(trace);
  if (length == hashMaskLenUnset) return;
  const auto candidate = owner_.bsrStatus_->cbsr(zone);
  if (!candidate) {
    VRF_TRACE(trace, 8, "No local CBSR configured for zone " << zone << ". Nothing to do");
    return;
  }
  if (!candidate->elected()) {
    VRF_TRACE(trace, 8, "Local CBSR configured for zone " << zone << " is not elected BSR. Nothing to do");
    return;
  }
  owner_.rpSets().hashMaskLenIs(zone, length);
}

}  // namespace Routing::Pim::Bsr
