#include "engine/Reactors.h"

#include "engine/BsmSender.h"
#include "engine/BsrCandidateSm.h"
#include "engine/BsrNonCandidateSm.h"
#include "engine/RpSetMirror.h"
#include "engine/RpSetStore.h"
#include "engine/TriggeredBsm.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Sm");

// Creates the reactor of everything that the status holds already, as if it were new.
void PimBsrSm::followStatus() {
  for (const Pax::IpGenAddr &rpAddress : bsrStatus_->crp().keys()) candidateRps_->handleCrp(rpAddress);
  for (const Pax::IpGenPrefix &zone : bsrStatus_->crpStatus().keys()) {
    if (!crpZoneStatus_.contains(zone)) handleCrpStatus(zone);
  }
  for (const Pax::IpGenPrefix &zone : bsrStatus_->bootstrapRouter().keys()) handleBootstrapRouter(zone);
}

void PimBsrSm::handleBsTimeout() {
  for (const auto &[zone, machine] : candidateSm_) machine->handleBsTimeout();
  for (const auto &[zone, machine] : nonCandidateSm_) machine->handleBsTimeout();
}

void PimBsrSm::handleSzTimeout() {
  for (const auto &[zone, machine] : nonCandidateSm_) machine->handleSzTimeout();
}

void PimBsrSm::handleBootstrapRouter(const Pax::IpGenPrefix &zone) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << zone << " )");
  bsr_.erase(zone);
  if (const auto bsr = bsrStatus_->bootstrapRouter(zone)) bsr_.insert(zone, std::make_unique<KivBsr>(*this, bsr));
}

void PimBsrSm::handleCrpStatus(const Pax::IpGenPrefix &zone) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << zone << " )");
  if (!bsrTrie_) return;
  if (const auto gone = crpZoneStatus_.erase(zone)) gone->handleDel();
  if (const auto zoneStatus = bsrStatus_->crpStatus(zone)) {
    crpZoneStatus_.insert(zone, std::make_unique<KivCrpZoneStatus>(*this, zone, zoneStatus));
  }
}

void PimBsrSm::handlePimIntf(const Pax::IntfId &intfId) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << intfId << " )");
  pimIntf_.erase(intfId);
  sender_->waitingDel(intfId);
  if (const auto pimIntf = pimStatus_->pimIntf(intfId)) {
    pimIntf_.insert(intfId, std::make_unique<KivPimIntf>(*this, intfId, pimIntf));
  }
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
