#include "engine/PimBsrSm.h"

#include "engine/BsmReassembly.h"
#include "engine/BsmSender.h"
#include "engine/BsrCandidateSm.h"
#include "engine/BsrNonCandidateSm.h"
#include "engine/Capacity.h"
#include "engine/PimBsrTrieBuilder.h"
#include "engine/Reactors.h"
#include "engine/RpSetMirror.h"
#include "engine/RpSetStore.h"
#include "engine/TriggeredBsm.h"
#include "model/VrfTrace.h"
#include "platform/ip/IntfStatus.h"
#include "platform/orb/Random.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Sm");

PimBsrSm::PimBsrSm(const Kiv::Ptr<Bsr::Status> &bsrStatus, const Kiv::Ptr<const Pim::Status> &pimStatus,
                   const Kiv::Ptr<PimBsmStatus> &bsmStatus, const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus,
                   const Kiv::Ptr<RpCandidateStatus> &rpCandidateStatus, const Kiv::Ptr<Orb::TimerWheel> &timerWheel,
                   const Kiv::Ptr<const Ip::AllIntfStatusDir> &allIntfStatusDir, Orb::Random &random)
    : bsrStatus_(bsrStatus),
      pimStatus_(pimStatus),
      bsmStatus_(bsmStatus),
      crpMsgStatus_(crpMsgStatus),
      rpCandidateStatus_(rpCandidateStatus),
      timerWheel_(timerWheel),
      allIntfStatusDir_(allIntfStatusDir),
      random_(random),
      capacity_(std::make_unique<Capacity>(*this)),
      reassembly_(std::make_unique<BsmReassembly>(*this)),
      rpSets_(std::make_unique<RpSetStore>(*this)),
      sender_(std::make_unique<BsmSender>(*this)),
      candidateRps_(std::make_unique<CandidateRps>(*this, random)),
      kivBsrStatus_(std::make_unique<KivBsrStatus>(*this, bsrStatus)),
      kivPimStatus_(std::make_unique<KivPimStatus>(*this, pimStatus)),
      kivBsmStatus_(std::make_unique<KivBsmStatus>(*this, bsmStatus)),
      kivCrpMsgStatus_(std::make_unique<KivCrpMsgStatus>(*this, crpMsgStatus)) {
  handleBsrCandidate();
  handleRpCandidate();
  handleBsm();
  handleCrpMsg();
  handleInitialized();
  for (const Pax::IntfId &intfId : pimStatus_->pimIntf().keys()) handlePimIntf(intfId);
  if (initialized_) followStatus();
}

PimBsrSm::~PimBsrSm() = default;
const std::string &PimBsrSm::vrfName() const { return bsrStatus_->name(); }
double PimBsrSm::now() const { return timerWheel_->now(); }

void PimBsrSm::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  random_.seedMixIn(static_cast<uint32_t>(now()));
  REQUIRE(bsrStatus());
  REQUIRE(pimStatus());
  REQUIRE(bsmStatus());
  REQUIRE(crpMsgStatus());
  REQUIRE(rpCandidateStatus());
  REQUIRE(allIntfStatusDir());
  globalOrNonScopeZone_ = Pax::allGroups(bsrStatus_->af());
  if (globalOrNonScopeZone_.isEmpty()) {
    VRF_TRACE(trace, 1, "Address Family not initialized in status");
    return;
  }
  if (!bsrTrie_ || bsrTrie_->af() != bsrStatus_->af()) {
    for (const Pax::IpGenPrefix &zone : crpZoneStatus_.keys()) crpZoneStatus_.erase(zone);
    const bool ipv4 = bsrStatus_->af() == Pax::AddressFamily::ipv4;
    bsrTrie_ = Kiv::make<TrieGen>(ipv4 ? "PimBsrTrie" : "PimBsr6Trie", bsrStatus_->af());
    published_ = std::make_unique<PublishedRpSet>(bsrStatus_, rpCandidateStatus_, bsrTrie_);
    bsrTrieBuilder_ = std::make_unique<PimBsrTrieBuilderSm>(bsrStatus_, bsrTrie_);
    kivBsrTrie_ = std::make_unique<KivBsrTrie>(*this, bsrTrie_);
    settledVersion_ = bsrTrie_->version();
    published_->adopt();
  }
  candidateRps_->begin();
  initialized_ = true;
  handleBsrCandidate();
  handleRpCandidate();
  maybeInitNonCandidateSm();
}

void PimBsrSm::handleAf() {
  VRF_TRACE_ENTRY(trace);
  if (!Pax::allGroups(bsrStatus_->af()).isEmpty()) {
    if (initialized_) return;
    handleInitialized();
    followStatus();
    return;
  }
  candidateRps_->end();
  VRF_TRACE(trace, 4, "Deleted all RP Candidate SMs");
  for (const Pax::IpGenPrefix &zone : nonCandidateSm_.keys()) nonCandidateSmDel(zone);
  VRF_TRACE(trace, 4, "Deleted all Non Candidate SMs");
  for (const Pax::IpGenPrefix &zone : candidateSm_.keys()) candidateSmDel(zone);
  VRF_TRACE(trace, 4, "Deleted all Candidate SMs");
  reassembly_->bsmRxFragmentsDelAll();
  sender_->waitingDelAll();
  initialized_ = false;
}

void PimBsrSm::handleBsm() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_ || !bsmStatus_->rxBsm()) return;
  const auto firstGroup = bsmStatus_->firstGroup();
  const bool scoped = firstGroup && firstGroup->adminScope();
  const Pax::IpGenPrefix zone = scoped ? firstGroup->prefix() : globalOrNonScopeZone_;
  if (BsrCandidateSm *candidate = candidateSm(zone)) {
    if (scoped) VRF_TRACE(trace, 5, "Trigger Scoped Candidate SM Scope: " << zone);
    if (!scoped) VRF_TRACE(trace, 5, "Trigger Global/Non-Scoped Candidate SM");
    candidate->bsmIs(bsmStatus_->rxBsm());
    return;
  }
  if (!nonCandidateSm(zone)) {
    if (!capacity_->admitsZone(zone)) return;
    nonCandidateSmIs(zone);
    if (scoped) VRF_TRACE(trace, 4, "Instantiated Scoped NonCandidate SM Scope: " << zone);
    if (!scoped) VRF_TRACE(trace, 4, "Instantiated Global/Non-Scoped Non Candidate SM");
  }
  nonCandidateSm(zone)->bsmIs(bsmStatus_->rxBsm());
}

void PimBsrSm::handleCrpMsg() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  const auto groupInfo = crpMsgStatus_->groupInfo();
  if (!groupInfo || groupInfo->group.empty()) return;
  const Pax::IpGenPrefix zone = bsrTrie_->longestMatch(groupInfo->group.front().prefix);
  const auto candidate = bsrStatus_->cbsr(zone);
  const auto bsr = bsrStatus_->bootstrapRouter(zone);
  if (candidate && bsr && candidateSm(zone) && candidate->address() == crpMsgStatus_->bsrIp() && candidate->elected() &&
      bsr->ipAddr() == candidate->address()) {
    VRF_TRACE(trace, 5, "Passing Crp Adv Message to Candidate BSR " << candidate->address() << " for zone " << zone);
    candidateSm(zone)->doAddCrp(groupInfo, crpMsgStatus_->rp(), crpMsgStatus_->priority(), crpMsgStatus_->holdTime());
    return;
  }
  VRF_TRACE(trace, 1,
            "Rx Error - Dropping Crp Adv Message to Candidate BSR " << crpMsgStatus_->bsrIp() << " for zone " << zone);
  countDrop(bsrStatus_->counters(), &PimBsrCounters::rxCrpAdvErrorInc, &PimBsrErrorCounters::notBsrError);
  crpMsgStatus_->refusedCountInc();
}

void PimBsrSm::handleRpCandidate() const { VRF_TRACE_ENTRY(trace); }

const Kiv::Table<CrpOptions, std::unique_ptr<RpCandidateSm>> &PimBsrSm::rpCandidateSm() const {
  return candidateRps_->rpCandidateSm();
}

void PimBsrSm::handleBsrCandidate() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  for (const Pax::IpGenPrefix &zone : bsrStatus_->cbsr().keys()) handleBsrCandidate(zone);
}

void PimBsrSm::handleBsrCandidate(const Pax::IpGenPrefix &zone) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << zone << " )");
  if (!initialized_) return;
  if (bsrStatus_->cbsr(zone)) {
    doConfigureCandidate(zone);
  } else if (candidateSm(zone)) {
    doUnconfigureCandidate(zone);
  }
}

void PimBsrSm::doConfigureCandidate(const Pax::IpGenPrefix &zone) {
  LastBsm lastBsm;
  if (const BsrNonCandidateSm *predecessor = nonCandidateSm(zone)) {
    lastBsm = predecessor->lastBsm();
    nonCandidateSmDel(zone);
    VRF_TRACE(trace, 4, "Deleted " << zone << " NonCandidate SM");
  }
  if (candidateSm(zone)) return;
  candidateSmIs(zone);
  candidateSm(zone)->lastBsmIs(lastBsm);
  VRF_TRACE(trace, 4, "Instantiated Candidate SM for zone " << zone);
}

// An elected candidate says goodbye and takes its own collection and messages with it. Another leaves
// the messages to the machine that goes on following the BSR.
void PimBsrSm::doUnconfigureCandidate(const Pax::IpGenPrefix &zone) {
  BsrCandidateSm &machine = *candidateSm(zone);
  if (machine.candidate()->elected()) {
    machine.doSendBsm(true);
    machine.candidate()->electedIs(false);
    rpSets_->clearRpSet(zone);
    bsrStatus_->crpStatusDel(zone);
  }
  const LastBsm lastBsm = machine.lastBsm();
  candidateSmDel(zone);
  VRF_TRACE(trace, 4, "Deleted Candidate SM for zone " << zone);
  if (!bsrStatus_->bootstrapRouter(zone)) return;
  maybeInitNonCandidateSm();
  nonCandidateSm(zone)->lastBsmIs(lastBsm);
}

void PimBsrSm::handleCandidateSm(const Pax::IpGenPrefix &zone) {
  VRF_TRACE_ENTRY_WITH(trace, "( " << zone << " )");
  const auto candidate = bsrStatus_->cbsr(zone);
  if (candidateSm(zone) || !candidate || !candidate->elected()) return;
  bsrStatus_->bootstrapRouterDel(zone);
  VRF_TRACE(trace, 4, "Deleted BSR for zone " << zone);
}

BsrCandidateSm *PimBsrSm::candidateSm(const Pax::IpGenPrefix &zone) const {
  const auto *machine = candidateSm_.find(zone);
  return machine ? machine->get() : nullptr;
}

void PimBsrSm::candidateSmIs(const Pax::IpGenPrefix &zone) {
  candidateSm_.insert(zone, std::make_unique<BsrCandidateSm>(*this, zone, bsrStatus_, timerWheel_, random_));
  handleCandidateSm(zone);
}

void PimBsrSm::candidateSmDel(const Pax::IpGenPrefix &zone) {
  candidateSm_.erase(zone);
  handleCandidateSm(zone);
}

std::vector<std::pair<Pax::IpGenPrefix, const LastBsm *>> PimBsrSm::lastBsms() const {
  std::vector<std::pair<Pax::IpGenPrefix, const LastBsm *>> result;
  for (const auto &[zone, machine] : candidateSm_) result.emplace_back(zone, &machine->lastBsm());
  for (const auto &[zone, machine] : nonCandidateSm_) result.emplace_back(zone, &machine->lastBsm());
  return result;
}

void PimBsrSm::maybeInitNonCandidateSm() {
  VRF_TRACE_ENTRY(trace);
  for (const Pax::IpGenPrefix &zone : bsrStatus_->bootstrapRouter().keys()) {
    if (nonCandidateSm(zone) || candidateSm(zone)) continue;
    nonCandidateSmIs(zone);
    VRF_TRACE(trace, 4, "Created Non Candidate SM for zone " << zone);
  }
}

BsrNonCandidateSm *PimBsrSm::nonCandidateSm(const Pax::IpGenPrefix &zone) const {
  const auto *machine = nonCandidateSm_.find(zone);
  return machine ? machine->get() : nullptr;
}

BsrNonCandidateSm &PimBsrSm::nonCandidateSmIs(const Pax::IpGenPrefix &zone) {
  return *nonCandidateSm_.insert(
      zone, std::make_unique<BsrNonCandidateSm>(*this, zone, bsrStatus_, timerWheel_, timerWheel_));
}

void PimBsrSm::nonCandidateSmDel(const Pax::IpGenPrefix &zone) { nonCandidateSm_.erase(zone); }

void PimBsrSm::handleBsrTrie(const Pax::IpGenPrefix &zone) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << zone << " )");
  const uint64_t version = bsrTrie_->version();
  if (std::exchange(settledVersion_, version) == version) return;  // only the zone's BSR is another
  published_->settleWithin(zone, zoneWatcher_);
  rpSets_->removeEmptySet(zone, zone);
  if (!bsrStatus_->bootstrapRouter(zone)) return;
  for (uint8_t length = 0; length < zone.length(); ++length) {
    if (BsrCandidateSm *const outer = candidateSm({zone.address(), length})) outer->handleInnerZone(zone);
  }
}

void PimBsrSm::handleTriggeredHelloSent() {
  VRF_TRACE_ENTRY(trace);
  for (const auto &[zone, machine] : candidateSm_) machine->handleTriggeredHelloSent();
}

void PimBsrSm::storeRpSet(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm, bool refresh) {
  if (initialized_) rpSets_->storeRpSet(zone, *bsm, refresh);
}

void PimBsrSm::refreshRpSet(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  if (!bsm || !initialized_) return;
  bsm->forwardIs(true);
  // What is open may have come after it.
  if (reassembly_->contradicts(zone, *bsm)) {
    VRF_TRACE(trace, 4,
              "Not refreshing from fragment tag " << bsm->fragmentTag() << ", whose groups are collected anew");
    return;
  }
  rpSets_->storeRpSet(zone, *bsm, true);
}

Kiv::Ptr<PimBsrRxFragments> PimBsrSm::bsmRxFragments(uint16_t tag) const { return reassembly_->bsmRxFragments(tag); }
void PimBsrSm::bsmRxFragmentsDel(uint16_t tag) { reassembly_->bsmRxFragmentsDel(tag); }

bool PimBsrSm::forwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  return initialized_ && sender_->forwardBsm(zone, bsm);
}

void PimBsrSm::doSendTriggeredBsm(const Pax::IpGenPrefix &zone, bool forward, const Pax::IntfId &intfId,
                                  const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  if (initialized_) sender_->doSendTriggeredBsm(zone, forward, intfId, bsm);
}

uint32_t PimBsrSm::doComputeBsmLength(const Packet::BootstrapMessage &bsm) const {
  return sender_->doComputeBsmLength(bsm);
}

}  // namespace Routing::Pim::Bsr
