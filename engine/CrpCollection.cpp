#include "engine/CrpCollection.h"

#include "engine/Capacity.h"
#include "engine/PublishedRpSet.h"
#include "engine/RpSetStore.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::CandidateSm");

void CrpCollection::add(const Packet::CrpGroup &group, const Pax::IpGenAddr &rpAddress, RpPriority priority,
                        CrpHoldTime holdTime) {
  const auto set = rpSetOf(*bsrSm_.bsrStatus(), zone_, group.prefix);
  auto rp = set ? set->rp(rpAddress) : nullptr;
  if (rp && rp->pimMode() == Mode::sparse && group.bidir) {
    VRF_TRACE(trace, 4,
              "CRP " << rpAddress << " has both PIM-SM and PIM-BIDIR instances."
                     << " We prefer BIDIR. Hence deleting existing PIM-SM CRP entry");
    bsrSm_.rpSets().rpDel(zone_, group.prefix, rpAddress);
    rp = nullptr;
    if (holdTime == 0) {  // it is gone here; everybody else has to be told
      withdrawals_.add(group.prefix, rpAddress, Mode::sparse);
      bsTimer_.pull();
    }
  } else if (rp && rp->pimMode() == Mode::bidir && !group.bidir) {
    VRF_TRACE(trace, 4,
              "CRP " << rpAddress << " has both PIM-SM and PIM-BIDIR instances."
                     << " We prefer BIDIR. Hence ignoring PIM-SM CRP Advertisement");
    return;
  }
  if (holdTime != 0) {
    if (!rp) rp = newRp(group.prefix, rpAddress);
    if (!rp) return;
    withdrawals_.remove(group.prefix, rpAddress);
    refresh(group, *rp, priority, holdTime);
  } else if (!rp) {
    VRF_TRACE(trace, 4, "Holdtime value of C-RP Advertisement is 0. Ignoring message");
  } else if (rp->holdTime() == 0) {
    VRF_TRACE(trace, 4, "Ignoring duplicate C-RP advertisement with 0 holdtime");
  } else {
    withdraw(group.prefix, rpAddress, *rp);
  }
}

Kiv::Ptr<Pim::RpCandidate> CrpCollection::newRp(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rpAddress) {
  const size_t withdrawnOthers = withdrawals_.size() - (withdrawals_.contains(prefix, rpAddress) ? 1 : 0);
  if (!bsrSm_.capacity().admitsCollected(zone_, prefix, rpAddress, withdrawnOthers)) return nullptr;
  const RpHashMaskLen hashMaskLen(candidate_.hashMaskLen());
  const auto rp = setToAddTo(prefix)->rpIs(rpAddress);
  rp->setupTimeIs(bsrSm_.now());
  rp->hashMaskLenIs(hashMaskLen);
  bsTimer_.pull();
  return rp;
}

Kiv::Ptr<RpCandidateSet> CrpCollection::setToAddTo(const Pax::IpGenPrefix &prefix) {
  auto zoneStatus = bsrSm_.bsrStatus()->crpStatus(zone_);
  if (!zoneStatus) {
    zoneStatus = bsrSm_.bsrStatus()->crpStatusIs(zone_);
    zoneStatus->statusIs("")->rpSetTypeIs(rpSetTypeBsr);
    VRF_TRACE(trace, 4, "Creating CrpStatus for zone " << zone_);
  }
  const auto status = zoneStatus->statusIs("");
  if (const auto set = status->crpSet(prefix)) return set;
  VRF_TRACE(trace, 4, "Creating CrpSet with prefix " << prefix);
  return status->crpSetIs(prefix);
}

// The entry expires on the next turn of the loop; the next messages withdraw it elsewhere.
void CrpCollection::withdraw(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rpAddress, Pim::RpCandidate &rp) {
  withdrawals_.add(prefix, rpAddress, rp.pimMode());
  rp.holdTimeIs(0);
  rp.expiresIs(bsrSm_.now());
  VRF_TRACE(trace, 4, rpAddress << " updated with holdtime 0");
  bsTimer_.pull();
}

// An advertised hold time that would not outlast two and a half periods is replaced by three.
void CrpCollection::refresh(const Packet::CrpGroup &group, Pim::RpCandidate &rp, RpPriority priority,
                            CrpHoldTime holdTime) {
  rp.pimModeIs(group.bidir ? Mode::bidir : Mode::sparse);
  rp.priorityIs(priority);
  const uint64_t bsPeriod = candidate_.bsPeriod();
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

void CrpCollection::giveUp(const Pax::IpGenPrefix &inner) {
  for (const Pax::IpGenPrefix &prefix : bsrSm_.published().prefixesWithin(inner)) {
    const auto set = rpSetOf(*bsrSm_.bsrStatus(), zone_, prefix);
    if (!set) continue;
    for (const auto &[address, rp] : set->rp()) {
      if (rp->holdTime() != 0) withdraw(prefix, address, *rp);
    }
  }
}

}  // namespace Routing::Pim::Bsr
