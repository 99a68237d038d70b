#include "engine/BsrCandidateSm.h"

#include "engine/BsmOrigination.h"
#include "engine/BsmReassembly.h"
#include "engine/BsmSender.h"
#include "engine/KivCandidate.h"
#include "engine/RandOverride.h"
#include "engine/RpSetStore.h"
#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::CandidateSm");

#define TRACE_STATE() VRF_TRACE(trace, 4, __PRETTY_FUNCTION__ << ", state=" << state_ << ", zone=" << zone_)

BsrCandidateSm::BsrCandidateSm(PimBsrSm &bsrSm, const Pax::IpGenPrefix &zone, const Kiv::Ptr<Status> &bsrStatus,
                               const Kiv::Ptr<Orb::TimerWheel> &timerWheel, Orb::Random &random)
    : bsrSm_(bsrSm),
      zone_(zone),
      bsrStatus_(bsrStatus),
      candidate_(bsrStatus->cbsr(zone)),
      random_(random),
      kivBsTimer_(timerWheel, *this),
      bsTimer_(kivBsTimer_, bsrSm, zone_),
      collection_(bsrSm, zone_, *candidate_, bsTimer_, withdrawals_),
      kivCandidate_(std::make_unique<KivCandidate>(*this, candidate_)) {
  handleInitialized();
}

BsrCandidateSm::~BsrCandidateSm() = default;

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
  if (!candidate_->isComplete()) {
    VRF_TRACE(trace, 4,
              "Postponing initialization of CandidateSm "
                  << zone_ << " till all the attributes of Candidate Bsr is initialized.");
    return postpone();
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
    resume();
  } else {
    doArmOverride(" Next Expiry Time in ");
  }
}

// The election outlived a restart. At the start of the VRF the message machines are not there yet, so the
// message that tells of it goes out on the next turn.
void BsrCandidateSm::resume() {
  stateIs(BsrCandidateState::eBsr);
  VRF_TRACE(trace, 4, "state=" << state_ << " ,zone=" << zone_);
  doUpdateElectedBsr();
  bsrSm_.rpSets().hashMaskLenIs(zone_, candidate_->hashMaskLen());
  resumption_.begin(bsrSm_.now());
  bsTimer_.arm(Reason::announcement, bsrSm_.now());
  if (const auto own = bsrStatus_->bootstrapRouter(zone_)) own->expiryTimeIs(bsrSm_.now() + candidate_->bsPeriod());
}

// With incomplete values the machine neither elects itself nor stays elected. One that was running
// follows nobody any more: the zone's BSR goes, since nothing would time it out.
void BsrCandidateSm::postpone() {
  const bool wasRunning = std::exchange(initialized_, false);
  bsTimer_.disarm();
  stateIs(BsrCandidateState::unset);
  if (candidate_->elected()) {
    candidate_->electedIs(false);
    bsrSm_.rpSets().clearRpSet(zone_);
  }
  if (wasRunning) doDelElectedBsr();
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
  bsrSm_.rpSets().storeRpSet(zone_, *bsm, false);
  bsTimer_.arm(Reason::timeout, bsrSm_.now() + bsTimer_.timeout());
  VRF_TRACE(trace, 5, " Next Expiry Timer expires in about " << bsTimer_.timeout() << " secs from now");
  bsrSm_.reassembly().doKeepBsm(zone_, lastBsm_, bsm);
}

void BsrCandidateSm::handleNonPreferredBsm(const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  VRF_TRACE_ENTRY(trace);
  switch (state_) {
    case BsrCandidateState::pBsr:
      bsrSm_.sender().doForwardBsm(zone_, bsm);
      bsrSm_.reassembly().remember(lastBsm_, bsm);
      return;
    case BsrCandidateState::eBsr: doAnswer(); return;
    case BsrCandidateState::cBsr:
      bsrSm_.sender().doForwardBsm(zone_, bsm);
      if (bsm->bsrAddress() == storedBsr_.ipAddr) {
        storedBsr_ = {bsm->bsrAddress(), bsm->priority(), bsm->hashMaskLen()};
        doUpdateElectedBsr();
      }
      bsrSm_.reassembly().remember(lastBsm_, bsm);
      stateIs(BsrCandidateState::pBsr);
      TRACE_STATE();
      doArmOverride("Next Expiry Time in ");
      return;
    case BsrCandidateState::unset: break;
  }
  REQUIRE_AS(false, "Invalid Candidate BSR state");
}

void BsrCandidateSm::handleBsrTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  switch (state_) {
    case BsrCandidateState::cBsr:
      stateIs(BsrCandidateState::pBsr);
      TRACE_STATE();
      doArmOverride("Next Expiry Time in ");
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
  const bool answers = bsTimer_.reason() == Reason::answer;
  if (answers) answers_.take(bsrSm_.now());
  doOriginate(answers || bsrSm_.rpSets().hasRps(zone_) ? candidate_->bsPeriod() : bsMinInterval);
  traceNextExpiry("Next Expiry Time in ");
}

void BsrCandidateSm::doComputeBsTimeout(const char *lead) {
  bsTimer_.timeoutIs(bsrStatus_->bsTimeout(), candidate_->bsPeriod(), lead);
}

void BsrCandidateSm::handleBsTimeout() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  doComputeBsTimeout("BS holdtime is set to ");
  doShortenBsTimer();
}

void BsrCandidateSm::doShortenBsTimer() {
  if (state_ == BsrCandidateState::cBsr) bsTimer_.shorten();
}

void BsrCandidateSm::doArmOverride(const char *lead) {
  bsTimer_.arm(Reason::randOverride, bsrSm_.now() + bs_rand_override());
  traceNextExpiry(lead);
}

uint32_t BsrCandidateSm::bs_rand_override() const {
  return randOverride(ownWeight(), {static_cast<uint8_t>(storedBsr_.priority), storedBsr_.ipAddr}, vrfName());
}

bool BsrCandidateSm::doSendBsm(bool shutDown) {
  VRF_TRACE_ENTRY_WITH(trace, " ( shutdown=" << (shutDown ? "True" : "False") << " )");
  if (!initialized_) return false;
  const auto tag = static_cast<uint16_t>(random_.next());
  const uint8_t priority = shutDown ? bsMinPriority : ownWeight().priority;
  const auto bsm = BsmOrigination(*bsrStatus_, zone_, *candidate_, withdrawals_).bsm(tag, priority);
  withdrawals_.listed();
  lastOriginated_ = bsrSm_.now();
  bsrSm_.reassembly().remember(lastBsm_, bsm);
  return bsrSm_.sender().forwardBsm(zone_, bsm);
}

// Originates a message and arms the timer for the next: in `interval` seconds, or sooner while something
// has to be told again.
void BsrCandidateSm::doOriginate(double interval) {
  const bool wentOut = doSendBsm(false);
  const double now = bsrSm_.now();
  resumption_.originated(now, wentOut);
  if (!withdrawals_.empty()) interval = std::min(interval, bsMinInterval);
  bsTimer_.arm(Reason::period, std::min(now + interval, resumption_.next(now)));
}

// Tells a sender of lesser weight at once who is the BSR. The bucket keeps others from making us flood
// the network; an answer that has to wait goes out as soon as there is a token.
void BsrCandidateSm::doAnswer() {
  const double ready = answers_.readyAt();
  if (ready <= bsrSm_.now()) {
    answers_.take(bsrSm_.now());
    doOriginate(candidate_->bsPeriod());
  } else if (bsTimer_.time() > ready) {
    bsTimer_.arm(Reason::answer, ready);
  }
  traceNextExpiry("Next Expiry Time is ");
}

void BsrCandidateSm::traceNextExpiry(const char *lead) const {
  VRF_TRACE(trace, 5, lead << bsTimer_.time() - bsrSm_.now() << " seconds");
}

void BsrCandidateSm::handleTriggeredHelloSent() {
  VRF_TRACE_ENTRY(trace);
  if (resumption_.isUnheard()) bsTimer_.hasten();
}

// What an elected BSR still had to tell is no longer ours to tell.
void BsrCandidateSm::handleElectionEnd() {
  resumption_.end();
  withdrawals_.clear();
  lastBsm_.clear();
}

void BsrCandidateSm::doAddCrp(const Kiv::Ptr<Packet::CrpGroupInfo> &groupInfo, const Pax::IpGenAddr &rpAddress,
                              RpPriority priority, CrpHoldTime holdTime) {
  const Packet::CrpGroup group = groupInfo->group.front();
  const unsigned flags = (group.bidir ? 0x80u : 0u) | (group.adminScope ? 0x01u : 0u);
  VRF_TRACE_ENTRY_WITH(
      trace, rpAddress << " " << group.prefix << ", group flags: " << flags << ", Bidir: " << (group.bidir ? 1 : 0));
  if (group.adminScope) VRF_TRACE(trace, 4, "Zone bit set in Candidate RP Advertisement from " << rpAddress);
  collection_.add(group, rpAddress, priority, holdTime);
}

void BsrCandidateSm::handleInnerZone(const Pax::IpGenPrefix &inner) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << inner << " )");
  if (candidate_->elected()) collection_.giveUp(inner);
}

void BsrCandidateSm::doUpdateElectedBsr() {
  const bool added = !bsrStatus_->bootstrapRouter(zone_);
  const auto bsr = bsrStatus_->bootstrapRouterIs(zone_);
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

}  // namespace Routing::Pim::Bsr
