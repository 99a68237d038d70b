// BsrCandidateSm: collecting the candidate RPs that advertise themselves to the elected BSR.

#include "engine/BsrCandidateSm.h"
#include "engine/RpSetStore.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::CandidateSm");
}

void BsrCandidateSm::doAddCrp(const Kiv::Ptr<Packet::CrpGroupInfo> &groupInfo, const Pax::IpGenAddr &rpAddress,
                              RpPriority priority, CrpHoldTime holdTime) {
  const Packet::CrpGroup group = groupInfo->group.front();
  const unsigned flags = (group.bidir ? 0x80u : 0u) | (group.adminScope ? 0x01u : 0u);
  VRF_TRACE_ENTRY_WITH(
      trace, rpAddress << " " << group.prefix << ", group flags: " << flags << ", Bidir: " << (group.bidir ? 1 : 0));
  if (group.adminScope) VRF_TRACE(trace, 4, "Zone bit set in Candidate RP Advertisement from " << rpAddress);

  const auto zoneStatus = bsrStatus_->crpStatus(zone_);
  auto set = zoneStatus && zoneStatus->status() ? zoneStatus->status()->crpSet(group.prefix) : nullptr;
  auto rp = set ? set->rp(rpAddress) : nullptr;
  if (rp && rp->pimMode() == Mode::sparse && group.bidir) {
    VRF_TRACE(trace, 4,
              "CRP " << rpAddress << " has both PIM-SM and PIM-BIDIR instances."
                     << " We prefer BIDIR. Hence deleting existing PIM-SM CRP entry");
    set->rpDel(rpAddress);
    bsrSm_.rpSets().removeEmptySet(zone_, group.prefix);
    rp = nullptr;
    if (holdTime == 0) {  // it is gone here; everybody else has to be told
      withdrawn_[group.prefix].insert_or_assign(rpAddress, Withdrawn{Mode::sparse});
      doPullBsTimer();
    }
  } else if (rp && rp->pimMode() == Mode::bidir && !group.bidir) {
    VRF_TRACE(trace, 4,
              "CRP " << rpAddress << " has both PIM-SM and PIM-BIDIR instances."
                     << " We prefer BIDIR. Hence ignoring PIM-SM CRP Advertisement");
    return;
  }
  if (holdTime == 0) {
    if (!rp) {
      VRF_TRACE(trace, 4, "Holdtime value of C-RP Advertisement is 0. Ignoring message");
    } else if (rp->holdTime() == 0) {
      VRF_TRACE(trace, 4, "Ignoring duplicate C-RP advertisement with 0 holdtime");
    } else {
      withdrawCrp(group.prefix, rpAddress, *rp);
    }
    return;
  }
  const auto withdrawn = withdrawn_.find(group.prefix);
  if (withdrawn != withdrawn_.end()) {
    withdrawn->second.erase(rpAddress);
    if (withdrawn->second.empty()) withdrawn_.erase(withdrawn);
  }
  if (!rp) {
    const RpHashMaskLen hashMaskLen(candidate_->hashMaskLen());
    set = crpSetToAddTo(group.prefix);
    rp = set->rpIs(rpAddress);
    rp->setupTimeIs(bsrSm_.now());
    rp->hashMaskLenIs(hashMaskLen);
    doPullBsTimer();
  }
  refreshCrp(group, *rp, priority, holdTime);
}

Kiv::Ptr<RpCandidateSet> BsrCandidateSm::crpSetToAddTo(const Pax::IpGenPrefix &prefix) {
  auto zoneStatus = bsrStatus_->crpStatus(zone_);
  if (!zoneStatus) {
    zoneStatus = bsrStatus_->crpStatusIs(zone_);
    zoneStatus->statusIs("")->rpSetTypeIs(rpSetTypeBsr);
    VRF_TRACE(trace, 4, "Creating CrpStatus for zone " << zone_);
  }
  const auto status = zoneStatus->statusIs("");
  if (const auto set = status->crpSet(prefix)) return set;
  VRF_TRACE(trace, 4, "Creating CrpSet with prefix " << prefix);
  return status->crpSetIs(prefix);
}

/// The entry ends with the next turn; the next messages tell everybody.
void BsrCandidateSm::withdrawCrp(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rpAddress,
                                 Pim::RpCandidate &rp) {
  withdrawn_[prefix].insert_or_assign(rpAddress, Withdrawn{rp.pimMode()});
  rp.holdTimeIs(0);
  rp.expiresIs(bsrSm_.now());
  VRF_TRACE(trace, 4, rpAddress << " updated with holdtime 0");
  doPullBsTimer();
}

void BsrCandidateSm::handleInnerZone(const Pax::IpGenPrefix &inner) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << inner << " )");
  const auto zoneStatus = bsrStatus_->crpStatus(zone_);
  if (!candidate_->elected() || !zoneStatus || !zoneStatus->status()) return;
  for (const auto &[prefix, set] : zoneStatus->status()->crpSet()) {
    if (!inner.covers(prefix)) continue;
    for (const auto &[address, rp] : set->rp()) {
      if (rp->holdTime() != 0) withdrawCrp(prefix, address, *rp);
    }
  }
}

/// A change of the RP set is announced soon (RFC 5059 section 3.3).
void BsrCandidateSm::doPullBsTimer() {
  const double remaining = bsTimer_.timeMin() - bsrSm_.now();
  if (remaining > bsMinInterval) {
    doArmBsTimer(bsMinInterval);
    doWriteExpiry();
    VRF_TRACE(trace, 5,
              "Setting bootstrap timer to expire in BS_MIN_INTERVAL for "
                  << "zone " << zone_);
  } else {
    VRF_TRACE(trace, 5, "Bootstrap timer expires in " << remaining << " seconds");
  }
}

/// An advertised hold time that would not outlast two and a half periods is replaced by three.
void BsrCandidateSm::refreshCrp(const Packet::CrpGroup &group, Pim::RpCandidate &rp, RpPriority priority,
                                CrpHoldTime holdTime) {
  rp.pimModeIs(group.bidir ? Mode::bidir : Mode::sparse);
  rp.priorityIs(priority);
  const uint64_t bsPeriod = candidate_->bsPeriod();
  if (holdTime > 2.5 * static_cast<double>(bsPeriod)) {
    rp.holdTimeIs(holdTime);
    rp.expiresIs(bsrSm_.now() + holdTime);
    return;
  }
  VRF_TRACE(trace, 4,
            "C-RP Adv message contains holdtime " << holdTime << " seconds which is less than 2.5 times bsPeriod of "
                                                  << bsPeriod << " seconds.");
  rp.holdTimeIs(static_cast<CrpHoldTime>(3 * bsPeriod));
  rp.expiresIs(bsrSm_.now() + static_cast<double>(3 * bsPeriod));
}

}  // namespace Routing::Pim::Bsr
