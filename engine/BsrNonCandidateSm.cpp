#include "engine/BsrNonCandidateSm.h"

#include <ostream>

#include "engine/BsmReassembly.h"
#include "engine/BsmSender.h"
#include "engine/RpSetStore.h"
#include "engine/ZoneWatcher.h"
#include "model/InternalStatus.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::NonCandidateSm");

#define TRACE_STATE() VRF_TRACE(trace, 4, __PRETTY_FUNCTION__ << ", state=" << state_ << ", Zone=" << zone_)

std::ostream &operator<<(std::ostream &out, BsrNonCandidateState state) {
  static constexpr const char *names[] = {"noInfo", "acceptAny", "acceptPreferred"};
  return out << names[static_cast<size_t>(state)];
}

BsrNonCandidateSm::BsrNonCandidateSm(PimBsrSm &bsrSm, const Pax::IpGenPrefix &zone, const Kiv::Ptr<Status> &bsrStatus,
                                     const Kiv::Ptr<Orb::TimerWheel> &bsTimerWheel,
                                     const Kiv::Ptr<Orb::TimerWheel> &szTimerWheel)
    : bsrSm_(bsrSm), zone_(zone), bsrStatus_(bsrStatus), bsTimer_(bsTimerWheel, *this), szTimer_(szTimerWheel, *this) {
  handleInitialized();
}

bool BsrNonCandidateSm::isGlobalZone() const { return zone_ == bsrSm_.globalOrNonScopeZone(); }

void BsrNonCandidateSm::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  state_ = isGlobalZone() ? BsrNonCandidateState::acceptAny : BsrNonCandidateState::noInfo;
  if (const auto bsr = bsrStatus_->bootstrapRouter(zone_)) {
    state_ = BsrNonCandidateState::acceptPreferred;
    bsr->expiryTimeIs(bsrSm_.now() + bsrStatus_->bsTimeout());
    doArmBsTimer();
  }
  TRACE_STATE();
  initialized_ = true;
}

void BsrNonCandidateSm::bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  bsm_ = bsm;
  handleBsm();
}

void BsrNonCandidateSm::handleBsm() {
  VRF_TRACE_ENTRY(trace);
  const Kiv::Ptr<Packet::BootstrapMessage> bsm = bsm_;
  if (!initialized_ || !bsm) {
    VRF_TRACE(trace, 1, "Initialized=" << (initialized_ ? "True" : "False") << ", bsm=" << (bsm ? "set" : "none"));
    return;
  }
  const BsrNonCandidateState previous = std::exchange(state_, BsrNonCandidateState::acceptPreferred);
  TRACE_STATE();
  if (previous != BsrNonCandidateState::acceptPreferred) {
    handleBsmOfAnyBsr(*bsm);
  } else if (isPreferred(*bsm)) {
    handlePreferredBsm(*bsm);
  } else {
    VRF_TRACE(trace, 4, "Received Non Preferred BSM. Nothing to be done.");
    return;
  }
  bsrSm_.sender().doForwardBsm(zone_, bsm);
  bsrSm_.rpSets().storeRpSet(zone_, *bsm, false);
  bsrSm_.reassembly().doKeepBsm(zone_, lastBsm_, bsm);
  doArmBsTimer();
}

// RFC 5059 section 3.1.3: a message is preferred when its weight is not less than the current
// BSR's; the current BSR's own messages are always taken.
bool BsrNonCandidateSm::isPreferred(const Packet::BootstrapMessage &bsm) const {
  const auto bsr = bsrStatus_->bootstrapRouter(zone_);
  if (!bsr || bsm.bsrAddress() == bsr->ipAddr()) return true;
  const PimBsrWeight current(static_cast<uint8_t>(bsr->priority()), bsr->ipAddr());
  return !(PimBsrWeight(bsm.priority(), bsm.bsrAddress()) < current);
}

void BsrNonCandidateSm::handleBsmOfAnyBsr(const Packet::BootstrapMessage &bsm) {
  auto bsr = bsrStatus_->bootstrapRouter(zone_);
  if (bsr && bsr->ipAddr() != bsm.bsrAddress()) {
    VRF_TRACE(trace, 4, "Clearing RP Set for zone " << zone_ << " since we have a new BSR");
    bsrSm_.rpSets().clearRpSet(zone_);
  }
  if (!bsr) bsr = bsrStatus_->bootstrapRouterIs(zone_);
  writeBsr(*bsr, bsm);
  bsr->setupTimeIs(bsrSm_.now());
  bsr->expiryTimeIs(bsrSm_.now() + bsrStatus_->bsTimeout());
  VRF_TRACE(trace, 4,
            "Created BSR state: IP=" << bsr->ipAddr() << ", Priority=" << bsr->priority()
                                     << ", hashMaskLen=" << bsr->hashMaskLen() << " for Zone " << zone_);
  if (!isGlobalZone()) szTimer_.timeMinIs(Orb::never);
}

void BsrNonCandidateSm::handlePreferredBsm(const Packet::BootstrapMessage &bsm) {
  VRF_TRACE_ENTRY(trace);
  const auto bsr = bsrStatus_->bootstrapRouterIs(zone_);
  if (bsr->ipAddr() != bsm.bsrAddress()) {
    VRF_TRACE(trace, 4,
              "Clearing RP Set for zone " << zone_ << " since we have a new BSR. Old BSR was " << bsr->ipAddr());
    bsrSm_.rpSets().clearRpSet(zone_);
    bsr->setupTimeIs(bsrSm_.now());
  }
  writeBsr(*bsr, bsm);
  VRF_TRACE(trace, 4,
            "Received preferred BSR state: IP=" << bsr->ipAddr() << ", Priority=" << bsr->priority()
                                                << ", hashMaskLen=" << bsr->hashMaskLen() << " for Zone " << zone_);
  bsr->expiryTimeIs(bsrSm_.now() + bsrStatus_->bsTimeout());
}

void BsrNonCandidateSm::writeBsr(ElectedBsrStatus &bsr, const Packet::BootstrapMessage &bsm) {
  bsr.ipAddrIs(bsm.bsrAddress());
  bsr.priorityIs(bsm.priority());
  bsr.hashMaskLenIs(bsm.hashMaskLen());
}

void BsrNonCandidateSm::doArmBsTimer() {
  bsTimer_.timeMinIs(bsrSm_.now() + bsrStatus_->bsTimeout());
  VRF_TRACE(trace, 5, " Next BS timer expiry is in " << bsrStatus_->bsTimeout() << " seconds from now.");
}

void BsrNonCandidateSm::handleBsrTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  if (state_ != BsrNonCandidateState::acceptPreferred) {
    VRF_TRACE(trace, 1, "Invalid event Bootstrap Timer Expiry in state " << state_);
    return;
  }
  state_ = BsrNonCandidateState::acceptAny;
  TRACE_STATE();
  for (const auto &bsm : lastBsm_.all()) bsrSm_.refreshRpSet(zone_, bsm);
  lastBsm_.clear();
  if (const auto bsr = bsrStatus_->bootstrapRouter(zone_)) {
    VRF_TRACE(trace, 4, "Removing BSR " << bsr->ipAddr() << " state for zone " << zone_);
  }
  bsrStatus_->bootstrapRouterDel(zone_);
  if (isGlobalZone()) return;
  szTimer_.timeMinIs(bsrSm_.now() + bsrStatus_->szTimeout());
  VRF_TRACE(trace, 5, " Next SZ timer expiry is in " << bsrStatus_->szTimeout() << " seconds from now.");
}

void BsrNonCandidateSm::handleSzTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  if (state_ != BsrNonCandidateState::acceptAny) {
    VRF_TRACE(trace, 1, "Invalid event Scope Zone Timer Expiry in state " << state_ << " for zone " << zone_);
    return;
  }
  state_ = BsrNonCandidateState::noInfo;
  TRACE_STATE();
  VRF_TRACE(trace, 4, "Deleted Zone " << zone_);
  if (bsrSm_.zoneWatcher()) bsrSm_.zoneWatcher()->zoneForgotten(zone_);
  bsrSm_.nonCandidateSmDel(Pax::IpGenPrefix(zone_));  // ends this machine
}

void BsrNonCandidateSm::handleBsTimeout() {
  VRF_TRACE_ENTRY(trace);
  const double before = bsTimer_.timeMin();
  doShorten(bsTimer_, bsrStatus_->bsTimeout(), "BS", "Resetting");
  if (bsTimer_.timeMin() == before) return;
  if (const auto bsr = bsrStatus_->bootstrapRouter(zone_)) bsr->expiryTimeIs(bsTimer_.timeMin());
}

void BsrNonCandidateSm::handleSzTimeout() {
  VRF_TRACE_ENTRY(trace);
  doShorten(szTimer_, bsrStatus_->szTimeout(), "SZ", "Restting");
}

void BsrNonCandidateSm::doShorten(Orb::Timer &timer, uint32_t timeout, const char *name, const char *resetting) {
  const double now = bsrSm_.now();
  if (!timer.armed()) {
    VRF_TRACE(trace, 5, name << " timer not set. Nothing to be done. ");
    return;
  }
  if (timer.timeMin() <= now + timeout) return;
  VRF_TRACE(trace, 5,
            name << " timer expiry was in " << timer.timeMin() - now << " seconds from now. " << resetting << " "
                 << name << " timer expiry to " << timeout << " seconds from now.");
  timer.timeMinIs(now + timeout);
}

}  // namespace Routing::Pim::Bsr
