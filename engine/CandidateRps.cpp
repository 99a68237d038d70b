// PimBsrSm: the advertisers of this router's candidate RPs, and the advertisements that reach it as BSR.

#include "engine/BsrCandidateSm.h"
#include "engine/Reactors.h"
#include "engine/RpCandidateSm.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::Sm");
}

void PimBsrSm::handleRpCandidate() const { VRF_TRACE_ENTRY(trace); }

void PimBsrSm::handleCrp(const Pax::IpGenAddr &rpAddress) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << rpAddress << " )");
  if (const auto gone = crp_.erase(rpAddress)) gone->handleDel();
  if (const auto crp = bsrStatus_->crp(rpAddress)) {
    crp_.insert(rpAddress, std::make_unique<KivCrp>(*this, rpAddress, crp));
  }
}

void PimBsrSm::KivCrp::onPrefixOptions(const Pax::IpGenPrefix &prefix) {
  options_.erase(prefix);
  if (const auto options = crp_->prefixOptions(prefix)) {
    options_.insert(prefix, std::make_unique<KivOptions>(*this, prefix, options))->handlePriority();
  } else {
    doEndUnused(false);
  }
}

void PimBsrSm::KivCrp::KivOptions::handlePriority() {
  const RpPriority priority = notifier()->priority();
  VRF_TRACE_ENTRY_WITH(trace, "rpAddress:" << crp_.rpAddress_ << " prefix: " << prefix_ << " priority: " << priority);
  if (!crp_.sm_.initialized_) return;
  if (priority != rpPriorityUnset) crp_.sm_.rpCandidateSmIs(CrpOptions(crp_.rpAddress_, priority));
  crp_.doEndUnused(false);
}

bool PimBsrSm::KivCrp::isUsed(RpPriority priority) const {
  for (const auto &[prefix, options] : crp_->prefixOptions()) {
    if (options->priority() == priority) return true;
  }
  return false;
}

void PimBsrSm::KivCrp::doEndUnused(bool all) {
  for (const CrpOptions &options : sm_.rpCandidateSm_.keys()) {
    if (options.rpAddress != rpAddress_ || (!all && isUsed(options.priority))) continue;
    sm_.rpCandidateSmDel(options);
  }
}

RpCandidateSm *PimBsrSm::rpCandidateSm(const CrpOptions &options) const {
  const auto *machine = rpCandidateSm_.find(options);
  return machine ? machine->get() : nullptr;
}

void PimBsrSm::rpCandidateSmIs(const CrpOptions &options) {
  if (rpCandidateSm(options)) return;
  const auto crp = bsrStatus_->crp(options.rpAddress);
  if (!crp) return;
  rpCandidateSm_.insert(options, std::make_unique<RpCandidateSm>(options, bsrStatus_, bsrTrie_, timerWheel_,
                                                                 *crpAdvertisements_, crp, random_));
  VRF_TRACE(trace, 4, "Created RpcandidateSm with options " << options);
}

/// Says goodbye for what was advertised, then ends the machine.
void PimBsrSm::rpCandidateSmDel(const CrpOptions &options) {
  const auto machine = rpCandidateSm_.erase(options);
  if (machine) machine->doSendCrpAdv(true);
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
  if (const auto &counters = bsrStatus_->counters()) {
    counters->rxErrorInc(1);
    counters->rxCrpAdvErrorInc(1);
    counters->errorInc(&PimBsrErrorCounters::notBsrError);
  }
}

}  // namespace Routing::Pim::Bsr
