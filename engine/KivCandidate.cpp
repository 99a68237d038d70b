#include "engine/KivCandidate.h"

#include "engine/PimBsrSm.h"
#include "engine/RpSetStore.h"
#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::CandidateSm");

// An elected candidate with complete values stays elected and publishes what has changed; any other starts anew.
bool BsrCandidateSm::KivCandidate::staysElected() const { return notifier()->elected() && notifier()->isComplete(); }

void BsrCandidateSm::KivCandidate::publish() {
  REQUIRE_AS(owner_.state_ == BsrCandidateState::eBsr, "bsrCandidateSm()->state() == eBsr()");
  owner_.storeSelf();
  owner_.doUpdateElectedBsr();
}

void BsrCandidateSm::KivCandidate::handleIpChange() {
  VRF_TRACE_ENTRY(trace);
  VRF_TRACE(trace, 4, "Changing IP address to " << notifier()->address() << " for zone " << owner_.zone_);
  if (!staysElected()) return owner_.handleInitialized();
  publish();
}

void BsrCandidateSm::KivCandidate::handlePriority() {
  VRF_TRACE_ENTRY_WITH(trace, "Priority=" << notifier()->priority());
  VRF_TRACE(trace, 4, "Changing priority to " << notifier()->priority() << " for zone " << owner_.zone_);
  if (!staysElected()) return owner_.handleInitialized();
  VRF_TRACE(trace, 4, "Changing priority of Elected BSR to " << notifier()->priority());
  publish();
}

void BsrCandidateSm::KivCandidate::handleHashMaskLen() {
  VRF_TRACE_ENTRY(trace);
  if (!staysElected()) return owner_.handleInitialized();
  VRF_TRACE(trace, 4, "Changing hashmask lenth of Elected BSR to " << notifier()->hashMaskLen());
  publish();
}

void BsrCandidateSm::KivCandidate::handleBsPeriod() {
  VRF_TRACE_ENTRY(trace);
  if (!owner_.initialized_ || !notifier()->isComplete()) return owner_.handleInitialized();
  owner_.doComputeBsTimeout("BS holdtime is ");
  owner_.doShortenBsTimer();
}

void BsrCandidateSm::KivCandidate::handleElected() {
  VRF_TRACE_ENTRY(trace);
  if (notifier()->elected()) {
    VRF_TRACE(trace, 4, "We, " << notifier()->address() << " are elected as BSR for zone " << owner_.zone_);
    owner_.doUpdateElectedBsr();
    owner_.bsrSm_.rpSets().hashMaskLenIs(owner_.zone_, notifier()->hashMaskLen());
  } else {
    VRF_TRACE(trace, 4, "We, " << notifier()->address() << " are no longer BSR for zone " << owner_.zone_);
    owner_.handleElectionEnd();
    owner_.doDelElectedBsr();
  }
}

}  // namespace Routing::Pim::Bsr
