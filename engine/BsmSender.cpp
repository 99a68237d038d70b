#include "engine/BsmSender.h"

#include <algorithm>
#include <iterator>

#include "model/InternalStatus.h"
#include "model/Status.h"
#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Sm");

bool BsmSender::forwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  bool wentOut = false;
  const uint32_t length = doComputeBsmLength(*bsm);
  VRF_TRACE(trace, 8, "BSM length is " << length);
  for (const auto &element : sm_.pimStatus()->pimIntf()) {
    const Pax::IntfId intfId = element.key;
    const Kiv::Ptr<PimIntf> pimIntf = element.value;
    if (pimIntf->neighbor().empty() || !usableForZone(zone, intfId, *pimIntf)) continue;
    VRF_TRACE(trace, 8, "MTU of interface " << intfId << " is " << pimIntf->mtu());
    sendBsm(zone, length, intfId, pimIntf->mtu(), bsm);
    wentOut = true;
  }
  bsmFragmentsDelAll();
  return wentOut;
}

void BsmSender::doForwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  if (bsm->forward()) {
    forwardBsm(zone, bsm);
  } else {
    VRF_TRACE(trace, 4, "Not Forwarding bootstrap message since noForward bit is set");
  }
}

void BsmSender::doSendTriggeredBsm(const Pax::IpGenPrefix &zone, bool forward, const Pax::IntfId &intfId,
                                   const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  const auto pimIntf = sm_.pimStatus()->pimIntf(intfId);
  if (!pimIntf || !usableForZone(zone, intfId, *pimIntf)) return;
  VRF_TRACE(trace, 8, "MTU of interface " << intfId << " is " << pimIntf->mtu());
  VRF_TRACE(trace, 4,
            "Sending BSM along oif=" << intfId << " for zone " << zone << " with forward bit set to "
                                     << (forward ? "True" : "False"));
  const auto copy = Packet::bootstrapHeaderOf(*bsm);
  copy->forwardIs(forward);
  for (const auto &group : bsm->groupData()) copy->optionalData()->groupDataEnq(group);
  sendBsm(zone, doComputeBsmLength(*copy), intfId, pimIntf->mtu(), copy);
  bsmFragmentsDelAll();
}

bool BsmSender::usableForZone(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId, const PimIntf &pimIntf) const {
  if (isBorder(*sm_.bsrStatus(), zone, intfId)) return false;
  if (pimIntf.mtu() >= bsmLeastMtu) return true;
  VRF_TRACE(trace, 1, "No BSM to interface " << intfId << " since its MTU is " << pimIntf.mtu());
  return false;
}

void BsmSender::sendBsm(const Pax::IpGenPrefix &zone, uint32_t length, const Pax::IntfId &oif, uint32_t mtu,
                        const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  if (length > mtu) {
    fragmentAndSendBsm(zone, mtu, length, oif, bsm);
    return;
  }
  handOver(oif, bsm);
  VRF_TRACE(trace, 4, " Forwarding BSM to oif=" << oif << " for zone " << zone);
}

void BsmSender::handOver(const Pax::IntfId &oif, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  PimBsmStatus &bsmStatus = *sm_.bsmStatus();
  bsmStatus.oifIntfIdIs(oif);
  bsmStatus.txBsmIs(bsm);
  bsmStatus.writeCountInc(1);
}

uint32_t BsmSender::doComputeBsmLength(const Packet::BootstrapMessage &bsm) const {
  uint32_t rps = 0;
  for (const auto &group : bsm.groupData()) rps += group->rpCount();
  const auto groups = static_cast<uint32_t>(bsm.groupData().size());
  VRF_TRACE(trace, 8, "Number of Groups: " << groups << ", Total number of RPs: " << rps);
  return bsmHeaderLength + bsmGroupLength * groups + bsmRpLength * rps;
}

void BsmSender::fragmentAndSendBsm(const Pax::IpGenPrefix &zone, uint32_t mtu, uint32_t totalLength,
                                   const Pax::IntfId &oif, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  const auto *built = bsmFragments_.find(mtu);
  const PimBsrTxFragments &fragments = built ? **built : buildFragments(zone, mtu, totalLength, bsm);
  for (const PimBsrTxFragment &fragment : fragments.fragment()) {
    if (fragment.bsm()->groupData().empty() && !bsm->groupData().empty()) continue;
    handOver(oif, fragment.bsm());
    VRF_TRACE(trace, 4, " Forwarding BSM fragment to oif=" << oif << " for zone " << zone);
  }
}

PimBsrTxFragments &BsmSender::buildFragments(const Pax::IpGenPrefix &zone, uint32_t mtu, uint32_t totalLength,
                                             const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  const bool scoped = zone != Pax::allGroups(zone.af());
  const uint32_t n = totalLength / mtu;
  if (scoped) totalLength += bsmGroupLength * n - bsmGroupLength;
  const uint32_t number = (totalLength + bsmHeaderLength * (n - 1) + mtu - 1) / mtu;
  VRF_TRACE(trace, 8, number << " fragments to be generated");
  PimBsrTxFragments &fragments = *bsmFragments_.insert(mtu, std::make_unique<PimBsrTxFragments>(mtu, bsm, number));

  const auto &groups = bsm->groupData();
  const uint8_t zoneRpCount = scoped && !groups.empty() ? groups.front()->rpCount() : 0;
  GroupData inPieces;
  std::ranges::copy_if(groups, std::back_inserter(inPieces), [](const auto &group) { return group->isPiece(); });
  for (const auto &group : groups) {
    if (doAddGroupData(zone, zoneRpCount, fragments, mtu, *group, false, vrfName()) == 0) continue;
    if (scoped && group == groups.front()) {
      doAddGroupData(zone, zoneRpCount, fragments, mtu, *group, true, vrfName());
      inPieces.push_back(group);
    } else {
      doSplitLater(zone, zoneRpCount, fragments, group, inPieces);
    }
  }
  VRF_TRACE(trace, 8, splitGroupRpData_.size() << " Group-Rp data needs to be split across fragments");
  for (const auto &waiting : splitGroupRpData_) {
    REQUIRE_AS(!doAddGroupData(zone, zoneRpCount, fragments, mtu, *waiting, true, vrfName()),
               "!doAddGroupData( zone, zoneRpCount, fragments, mtu, splitGroupRpData( i ), true, vrfName() )");
  }
  splitGroupRpData_.clear();
  return fragments;
}

// Receivers know a piece by its tag and prefix, so of the two groups that a prefix may have, one for
// each mode, only one may go in pieces. The other goes whole into a fragment of its own.
void BsmSender::doSplitLater(const Pax::IpGenPrefix &zone, uint8_t zoneRpCount, PimBsrTxFragments &fragments,
                             const Kiv::Ptr<Packet::BootstrapGroupData> &group, GroupData &inPieces) {
  const auto isRival = [&](const auto &other) { return other != group && other->prefix() == group->prefix(); };
  if (std::ranges::none_of(inPieces, isRival)) {
    splitGroupRpData_.push_back(group);
    inPieces.push_back(group);
    return;
  }
  if (appendGroupData(zone, zoneRpCount, fragments, *group, vrfName())) return;
  VRF_TRACE(trace, 1, "Not forwarding a second group block of " << group->prefix() << " that needs to be split");
  count(sm_.bsrStatus()->counters(), &PimBsrCounters::txInc, &PimBsrCounters::txErrorInc);
}

void BsmSender::bsmFragmentsDelAll() {
  for (const uint32_t mtu : bsmFragments_.keys()) bsmFragments_.erase(mtu);
}

}  // namespace Routing::Pim::Bsr
