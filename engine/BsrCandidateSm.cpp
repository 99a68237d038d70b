#include "engine/BsrCandidateSm.h"

#include <cmath>

#include "engine/BsmReassembly.h"
#include "engine/BsmSender.h"
#include "engine/RpSetStore.h"
#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::CandidateSm");

}  // namespace

#define TRACE_STATE() VRF_TRACE(trace, 4, __PRETTY_FUNCTION__ << ", state=" << state_ << ", zone=" << zone_)

BsrCandidateSm::BsrCandidateSm(PimBsrSm &bsrSm, const Pax::IpGenPrefix &zone, const Kiv::Ptr<Status> &bsrStatus,
                               const Kiv::Ptr<Orb::TimerWheel> &timerWheel, Orb::Random &random)
    : bsrSm_(bsrSm),
      zone_(zone),
      bsrStatus_(bsrStatus),
      candidate_(bsrStatus->cbsr(zone)),
      random_(random),
      bsTimer_(*this, timerWheel),
      kivBsrStatus_(*this),
      kivCandidate_(*this) {
  handleInitialized();
}

bool BsrCandidateSm::isComplete() const {
  return candidate_->priority() != bsrPriorityUnset && candidate_->hashMaskLen() != hashMaskLenUnset &&
         candidate_->bsPeriod() != bsPeriodUnset && !candidate_->address().isZero();
}

PimBsrWeight BsrCandidateSm::ownWeight() const {
  return {static_cast<uint8_t>(candidate_->priority()), candidate_->address()};
}

void BsrCandidateSm::stateIs(BsrCandidateState state) {
  state_ = state;
  candidate_->stateIs(state);
}

void BsrCandidateSm::storeSelf() {
  storedBsr_ = {candidate_->address(), candidate_->priority(), candidate_->hashMaskLen()};
}

void BsrCandidateSm::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  if (!isComplete()) {
    VRF_TRACE(trace, 4,
              "Postponing initialization of CandidateSm "
                  << zone_ << " till all the attributes of Candidate Bsr is initialized.");
    postpone();
    return;
  }
  doComputeBsTimeout("BS holdtime is set to ");
  stateIs(BsrCandidateState::pBsr);
  TRACE_STATE();
  storeSelf();
  const auto bsr = bsrStatus_->bootstrapRouter(zone_);
  if (!candidate_->elected() && bsr &&
      ownWeight() < PimBsrWeight(static_cast<uint8_t>(bsr->priority()), bsr->ipAddr())) {
    storedBsr_ = {bsr->ipAddr(), bsr->priority(), bsr->hashMaskLen()};
  }
  initialized_ = true;
  if (candidate_->elected()) {
    stateIs(BsrCandidateState::eBsr);
    VRF_TRACE(trace, 4, "state=" << state_ << " ,zone=" << zone_);
    doUpdateElectedBsr();
    bsrSm_.rpSets().hashMaskLenIs(zone_, candidate_->hashMaskLen());
    // At the start of the VRF the message machines are not there yet: it goes out on the next turn.
    announcing_ = true;
    announced_ = false;
    resumed_ = bsrSm_.now();
    doArmBsTimer(0);
    if (const auto own = bsrStatus_->bootstrapRouter(zone_)) own->expiryTimeIs(bsrSm_.now() + candidate_->bsPeriod());
  } else {
    doArmBsTimer(bs_rand_override());
    VRF_TRACE(trace, 5, " Next Expiry Time in " << bsTimer_.timeMin() - bsrSm_.now() << " seconds");
  }
}

/// With incomplete values the machine neither elects itself nor stays elected. One that was running
/// follows nobody any more: the zone's BSR goes, since nothing would time it out.
void BsrCandidateSm::postpone() {
  const bool wasRunning = std::exchange(initialized_, false);
  bsTimer_.timeMinIs(Orb::never);
  stateIs(BsrCandidateState::unset);
  if (candidate_->elected()) {
    candidate_->electedIs(false);
    bsrSm_.rpSets().clearRpSet(zone_);
  }
  if (wasRunning) doDelElectedBsr();
}

/// RFC 5059 section 5: the timeout has to outlast our own period. `lead` begins the trace that says
/// that it was raised.
void BsrCandidateSm::doComputeBsTimeout(const char *lead) {
  const uint32_t holdTime = bsrStatus_->bsTimeout();
  const uint32_t bsPeriod = candidate_->bsPeriod();
  if (holdTime > bsPeriod) {
    bsTimeout_ = holdTime;
    return;
  }
  VRF_TRACE(trace, 1,
            lead << holdTime << " secs, which is less than this C-BSR BSM interval of " << bsPeriod
                 << " secs. Overriding this with value ( 2 * BS_Period ) + 10 as recommended by "
                    "RFC 5059.");
  bsTimeout_ = 2 * bsPeriod + 10;
}

void BsrCandidateSm::bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  bsm_ = bsm;
  handleBsm();
}

void BsrCandidateSm::handleBsm() {
  VRF_TRACE_ENTRY(trace);
  const Kiv::Ptr<Packet::BootstrapMessage> bsm = bsm_;
  if (!initialized_ || !bsm) return;
  VRF_TRACE(trace, 5,
            "BSM Priority is " << unsigned{bsm->priority()} << " and my priority is " << candidate_->priority());
  if (PimBsrWeight(bsm->priority(), bsm->bsrAddress()) < ownWeight()) {
    handleNonPreferredBsm(bsm);
  } else {
    handlePreferredBsm(bsm);
  }
}

void BsrCandidateSm::handlePreferredBsm(const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  VRF_TRACE_ENTRY(trace);
  stateIs(BsrCandidateState::cBsr);
  TRACE_STATE();
  const auto held = bsrStatus_->bootstrapRouter(zone_);
  const bool changed = held && held->ipAddr() != bsm->bsrAddress();
  candidate_->electedIs(false);
  if (changed) {
    VRF_TRACE(trace, 4, "Clearing RP Set for zone " << zone_ << " since we have a new BSR");
    bsrSm_.rpSets().clearRpSet(zone_);
  }
  storedBsr_ = {bsm->bsrAddress(), bsm->priority(), bsm->hashMaskLen()};
  doUpdateElectedBsr();
  bsrSm_.sender().doForwardBsm(zone_, bsm);
  bsrSm_.storeRpSet(zone_, bsm, false);
  doArmBsTimer(bsTimeout_);
  doWriteExpiry();
  VRF_TRACE(trace, 5, " Next Expiry Timer expires in about " << bsTimeout_ << " secs from now");
  bsrSm_.reassembly().doKeepBsm(lastBsm_, lastBsmFragments_, bsm);
}

void BsrCandidateSm::handleNonPreferredBsm(const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  VRF_TRACE_ENTRY(trace);
  switch (state_) {
    case BsrCandidateState::pBsr:
      bsrSm_.sender().doForwardBsm(zone_, bsm);
      lastBsm_.bsmIs(bsm, bsrSm_.now());
      return;
    case BsrCandidateState::eBsr: doAnswer(); return;
    case BsrCandidateState::cBsr:
      bsrSm_.sender().doForwardBsm(zone_, bsm);
      if (bsm->bsrAddress() == storedBsr_.ipAddr) {
        storedBsr_.priority = bsm->priority();
        storedBsr_.hashMaskLen = bsm->hashMaskLen();
        doUpdateElectedBsr();
      }
      lastBsm_.bsmIs(bsm, bsrSm_.now());
      stateIs(BsrCandidateState::pBsr);
      TRACE_STATE();
      doArmBsTimer(bs_rand_override());
      VRF_TRACE(trace, 5, "Next Expiry Time in " << bsTimer_.timeMin() - bsrSm_.now() << " seconds");
      return;
    case BsrCandidateState::unset: break;
  }
  REQUIRE_AS(false, "Invalid Candidate BSR state");
}

/// Tells a sender of lesser weight at once who is the BSR. The bucket keeps others from making us
/// flood the network; an answer that has to wait goes out as soon as there is a token.
void BsrCandidateSm::doAnswer() {
  if (answers_.take(bsrSm_.now())) {
    doOriginate(candidate_->bsPeriod());
  } else if (bsTimer_.timeMin() > answers_.readyAt()) {
    bsTimer_.timeMinIs(answers_.readyAt());
    doWriteExpiry();
    answering_ = true;
  }
  VRF_TRACE(trace, 5, "Next Expiry Time is " << bsTimer_.timeMin() - bsrSm_.now() << " seconds");
}

/// Originates a message and arms the timer for the next: in `interval` seconds, or sooner while
/// something has to be told again.
void BsrCandidateSm::doOriginate(double interval) {
  const bool wentOut = doSendBsm(false);
  if (!withdrawn_.empty()) interval = std::min(interval, bsMinInterval);
  doArmBsTimer(announcing_ ? soonerWhileAnnouncing(wentOut, interval) : interval);
  doWriteExpiry();
}

/// After a restart no neighbour is known at first, and then one after the other within ten seconds,
/// which the first Hellos take. By then all can be told; if nobody can, it is tried again.
double BsrCandidateSm::soonerWhileAnnouncing(bool wentOut, double interval) {
  announced_ |= wentOut;
  const double early = resumed_ + bsMinInterval - bsrSm_.now();
  if (early > 0) return std::min(interval, early);
  if (!wentOut) return std::min(interval, bsMinInterval);
  announcing_ = false;
  return interval;
}

void BsrCandidateSm::handleTriggeredHelloSent() {
  VRF_TRACE_ENTRY(trace);
  if (announcing_ && !announced_) doArmBsTimer(0);
}

/// What an elected BSR still had to tell is no longer ours to tell.
void BsrCandidateSm::handleElectionEnd() {
  answering_ = false;
  announcing_ = false;
  withdrawn_.clear();
  lastBsm_.clear();
}

void BsrCandidateSm::handleBsrTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  switch (state_) {
    case BsrCandidateState::cBsr:
      stateIs(BsrCandidateState::pBsr);
      TRACE_STATE();
      doArmBsTimer(bs_rand_override());
      VRF_TRACE(trace, 5, "Next Expiry Time in " << bsTimer_.timeMin() - bsrSm_.now() << " seconds");
      return;
    case BsrCandidateState::pBsr:
    case BsrCandidateState::eBsr: break;
    case BsrCandidateState::unset: REQUIRE_AS(false, "Invalid Candidate BSR state");
  }
  stateIs(BsrCandidateState::eBsr);
  TRACE_STATE();
  storeSelf();
  candidate_->electedIs(true);
  bsrSm_.rpSets().keepOwnSet(zone_);
  const bool answers = std::exchange(answering_, false);
  if (answers) answers_.take(bsrSm_.now());
  doOriginate(answers || bsrSm_.rpSets().hasRps(zone_) ? candidate_->bsPeriod() : bsMinInterval);
  VRF_TRACE(trace, 5, "Next Expiry Time in " << bsTimer_.timeMin() - bsrSm_.now() << " seconds");
}

void BsrCandidateSm::doArmBsTimer(double seconds) { bsTimer_.timeMinIs(bsrSm_.now() + seconds); }

void BsrCandidateSm::doWriteExpiry() {
  if (const auto bsr = bsrStatus_->bootstrapRouter(zone_)) bsr->expiryTimeIs(bsTimer_.timeMin());
}

/// RFC 5059 section 5, BS_Rand_Override: the better our weight, the sooner we take over.
uint32_t BsrCandidateSm::bs_rand_override() const {
  const unsigned myPriority = candidate_->priority();
  const unsigned storedPriority = storedBsr_.priority;
  const Pax::IpGenAddr &myAddr = candidate_->address();
  const Pax::IpGenAddr &storedAddr = storedBsr_.ipAddr;
  VRF_TRACE(trace, 5, " Stored Priority=" << storedPriority << ", myPriority=" << myPriority);
  VRF_TRACE(trace, 5, "Stored Addr=" << storedAddr << ", myAddr=" << myAddr);
  const unsigned bestPriority = std::max(storedPriority, myPriority);
  const Pax::IpGenAddr bestAddr = std::max(storedAddr, myAddr);

  double addrDelay = 0;
  switch (myAddr.af()) {
    case Pax::AddressFamily::ipv4:
      addrDelay = myPriority == bestPriority ? std::log2(uint32_t{bestAddr.v4() - myAddr.v4() + 1}) / 16
                                             : 2 - myAddr.v4() / std::exp2(31);
      break;
    case Pax::AddressFamily::ipv6: addrDelay = 5.0; break;
    case Pax::AddressFamily::unknown: REQUIRE_AS(false, "0 && \"Unknown address family not supported.\"");
  }
  const double priorityDelay = 2 * std::log2(1 + bestPriority - myPriority);
  const double delay = 5 + priorityDelay + addrDelay;
  const auto result = static_cast<uint32_t>(delay);
  VRF_TRACE(trace, 5,
            "addrDelay=" << addrDelay << ", priorityDelay=" << priorityDelay << ", delay=" << delay
                         << ", bs_rand_override=" << result);
  return result;
}

void BsrCandidateSm::doUpdateElectedBsr() {
  auto bsr = bsrStatus_->bootstrapRouter(zone_);
  const bool added = !bsr;
  if (added) bsr = bsrStatus_->bootstrapRouterIs(zone_);
  if (added || bsr->ipAddr() != storedBsr_.ipAddr) bsr->setupTimeIs(bsrSm_.now());
  bsr->ipAddrIs(storedBsr_.ipAddr);
  bsr->priorityIs(storedBsr_.priority);
  bsr->hashMaskLenIs(storedBsr_.hashMaskLen);
  VRF_TRACE(trace, 4,
            (added ? "Added" : "Updated") << " Elected BSR " << storedBsr_.ipAddr << " with priority "
                                          << storedBsr_.priority << ", hashMaskLen " << storedBsr_.hashMaskLen);
}

void BsrCandidateSm::doDelElectedBsr() {
  const auto bsr = bsrStatus_->bootstrapRouter(zone_);
  if (!bsr) return;
  VRF_TRACE(trace, 4, "Deleting " << bsr->ipAddr() << " as elected BSR for zone" << zone_);
  bsrStatus_->bootstrapRouterDel(zone_);
}

void BsrCandidateSm::handleBsTimeout() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  doComputeBsTimeout("BS holdtime is set to ");
  doShortenBsTimer();
}

void BsrCandidateSm::doShortenBsTimer() {
  if (state_ != BsrCandidateState::cBsr) return;
  if (!bsTimer_.armed()) {
    VRF_TRACE(trace, 5, "BS timer not set. Nothing to be done. ");
    return;
  }
  const double now = bsrSm_.now();
  if (bsTimer_.timeMin() <= now + bsTimeout_) return;
  VRF_TRACE(trace, 5,
            "BS timer expiry was in " << bsTimer_.timeMin() - now << " seconds from now. Resetting BS timer expiry to "
                                      << bsTimeout_ << " seconds from now.");
  doArmBsTimer(bsTimeout_);
  doWriteExpiry();
}

// KivCandidate

/// Whether the change is one of an elected candidate with complete values: it stays elected, and
/// publishes what changed. Any other change starts the machine anew.
bool BsrCandidateSm::KivCandidate::staysElectedOrRestarts() {
  if (sm_.candidate_->elected() && sm_.isComplete()) {
    REQUIRE_AS(bsrCandidateSm()->state() == eBsr(), "bsrCandidateSm()->state() == eBsr()");
    return true;
  }
  sm_.handleInitialized();
  return false;
}

void BsrCandidateSm::KivCandidate::handleIpChange() {
  VRF_TRACE_ENTRY(trace);
  VRF_TRACE(trace, 4, "Changing IP address to " << notifier()->address() << " for zone " << sm_.zone_);
  if (!staysElectedOrRestarts()) return;
  sm_.storedBsr_.ipAddr = notifier()->address();
  sm_.doUpdateElectedBsr();
}

void BsrCandidateSm::KivCandidate::handlePriority() {
  VRF_TRACE_ENTRY_WITH(trace, "Priority=" << notifier()->priority());
  VRF_TRACE(trace, 4, "Changing priority to " << notifier()->priority() << " for zone " << sm_.zone_);
  if (!staysElectedOrRestarts()) return;
  VRF_TRACE(trace, 4, "Changing priority of Elected BSR to " << notifier()->priority());
  sm_.storedBsr_.priority = notifier()->priority();
  sm_.doUpdateElectedBsr();
}

void BsrCandidateSm::KivCandidate::handleHashMaskLen() {
  VRF_TRACE_ENTRY(trace);
  if (!staysElectedOrRestarts()) return;
  VRF_TRACE(trace, 4, "Changing hashmask lenth of Elected BSR to " << notifier()->hashMaskLen());
  sm_.storedBsr_.hashMaskLen = notifier()->hashMaskLen();
  sm_.doUpdateElectedBsr();
}

void BsrCandidateSm::KivCandidate::handleBsPeriod() {
  VRF_TRACE_ENTRY(trace);
  if (!sm_.initialized_ || !sm_.isComplete()) {
    sm_.handleInitialized();
    return;
  }
  sm_.doComputeBsTimeout("BS holdtime is ");
  sm_.doShortenBsTimer();
}

void BsrCandidateSm::KivCandidate::handleElected() {
  VRF_TRACE_ENTRY(trace);
  if (notifier()->elected()) {
    VRF_TRACE(trace, 4, "We, " << notifier()->address() << " are elected as BSR for zone " << sm_.zone_);
    sm_.doUpdateElectedBsr();
    sm_.bsrSm_.rpSets().hashMaskLenIs(sm_.zone_, notifier()->hashMaskLen());
  } else {
    VRF_TRACE(trace, 4, "We, " << notifier()->address() << " are no longer BSR for zone " << sm_.zone_);
    sm_.handleElectionEnd();
    sm_.doDelElectedBsr();
  }
}

}  // namespace Routing::Pim::Bsr
