#include "engine/BsmSender.h"

#include <algorithm>
#include <iterator>

#include "model/InternalStatus.h"
#include "model/Status.h"
#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Sm");

namespace {

// Seconds after which more of what waits goes out.
constexpr double turn = 0.01;

}  // namespace

bool BsmSender::forwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  bool wentOut = false;
  const uint32_t length = doComputeBsmLength(*bsm);
  VRF_TRACE(trace, 8, "BSM length is " << length);
  for (const auto &element : sm_.pimStatus()->pimIntf()) {
    const Pax::IntfId intfId = element.key;
    const Kiv::Ptr<PimIntf> pimIntf = element.value;
    if (pimIntf->neighbor().empty() || !usableForZone(zone, intfId, *pimIntf)) continue;
    VRF_TRACE(trace, 8, "MTU of interface " << intfId << " is " << pimIntf->mtu());
    wentOut = true;
    auto *const queue = queue_.find(intfId);
    if (queue) (*queue)->olderDel(zone, *bsm);
    BsmQueue::Entry entry{bsm};
    const bool isInTurn = !queue || !(*queue)->holds(zone);
    if (!isInTurn || !sendBsm(zone, length, intfId, pimIntf->mtu(), entry)) wait(zone, intfId, std::move(entry));
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
  const BsmQueue &queue = queueIs(intfId);
  BsmQueue::Entry entry{bsm, true, forward};
  const bool isInTurn = queue.isEmpty() && maySend(queue);
  if (!isInTurn || !sendTriggered(zone, intfId, pimIntf->mtu(), entry)) wait(zone, intfId, std::move(entry));
}

bool BsmSender::sendTriggered(const Pax::IpGenPrefix &zone, const Pax::IntfId &oif, uint32_t mtu,
                              BsmQueue::Entry &entry) {
  VRF_TRACE(trace, 8, "MTU of interface " << oif << " is " << mtu);
  VRF_TRACE(trace, 4,
            "Sending BSM along oif=" << oif << " for zone " << zone << " with forward bit set to "
                                     << (entry.forward ? "True" : "False"));
  const auto copy = Packet::bootstrapHeaderOf(*entry.bsm);
  copy->forwardIs(entry.forward);
  for (const auto &group : entry.bsm->groupData()) copy->optionalData()->groupDataEnq(group);
  entry.bsm = copy;
  const bool isOut = sendBsm(zone, doComputeBsmLength(*copy), oif, mtu, entry);
  bsmFragmentsDelAll();
  return isOut;
}

bool BsmSender::usableForZone(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId, const PimIntf &pimIntf) const {
  if (isBorder(*sm_.bsrStatus(), zone, intfId)) return false;
  if (pimIntf.mtu() >= bsmLeastMtu) return true;
  VRF_TRACE(trace, 1, "No BSM to interface " << intfId << " since its MTU is " << pimIntf.mtu());
  return false;
}

bool BsmSender::sendBsm(const Pax::IpGenPrefix &zone, uint32_t length, const Pax::IntfId &oif, uint32_t mtu,
                        BsmQueue::Entry &entry) {
  if (length > mtu) return fragmentAndSendBsm(zone, mtu, length, oif, entry);
  if (auto *const queue = queue_.find(oif)) takeTurn(**queue);
  handOver(oif, entry.bsm);
  VRF_TRACE(trace, 4, " Forwarding BSM to oif=" << oif << " for zone " << zone);
  return true;
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

bool BsmSender::fragmentAndSendBsm(const Pax::IpGenPrefix &zone, uint32_t mtu, uint32_t totalLength,
                                   const Pax::IntfId &oif, BsmQueue::Entry &entry) {
  const auto *built = bsmFragments_.find(mtu);
  entry.fragments = built ? *built : buildFragments(zone, mtu, totalLength, entry.bsm);
  return sendFragments(zone, oif, entry);
}

bool BsmSender::sendFragments(const Pax::IpGenPrefix &zone, const Pax::IntfId &oif, BsmQueue::Entry &entry) {
  BsmQueue &queue = queueIs(oif);
  const auto &fragments = entry.fragments->fragment();
  for (; entry.next < fragments.size(); ++entry.next) {
    const auto &fragment = fragments[entry.next].bsm();
    if (fragment->groupData().empty() && !entry.bsm->groupData().empty()) continue;
    if (!takeTurn(queue)) return false;
    handOver(oif, fragment);
    VRF_TRACE(trace, 4, " Forwarding BSM fragment to oif=" << oif << " for zone " << zone);
  }
  return true;
}

std::shared_ptr<const PimBsrTxFragments> BsmSender::buildFragments(const Pax::IpGenPrefix &zone, uint32_t mtu,
                                                                   uint32_t totalLength,
                                                                   const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  const bool scoped = zone != Pax::allGroups(zone.af());
  const uint32_t n = totalLength / mtu;
  if (scoped) totalLength += bsmGroupLength * n - bsmGroupLength;
  const uint32_t number = (totalLength + bsmHeaderLength * (n - 1) + mtu - 1) / mtu;
  VRF_TRACE(trace, 8, number << " fragments to be generated");
  const auto built = std::make_shared<PimBsrTxFragments>(mtu, bsm, number);
  bsmFragments_.insert(mtu, built);
  PimBsrTxFragments &fragments = *built;

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
  return built;
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
  for (const auto &element : bsmFragments_) bsmFragments_.erase(element.key);
}

BsmQueue &BsmSender::queueIs(const Pax::IntfId &intfId) {
  if (auto *const present = queue_.find(intfId)) return **present;
  return *queue_.insert(intfId, std::make_unique<BsmQueue>());
}

bool BsmSender::maySend(const BsmQueue &queue) const {
  return std::max(pace_.readyAt(), queue.pace.readyAt()) <= sm_.now();
}

bool BsmSender::takeTurn(BsmQueue &queue) {
  return maySend(queue) && pace_.take(sm_.now()) && queue.pace.take(sm_.now());
}

void BsmSender::wait(const Pax::IpGenPrefix &zone, const Pax::IntfId &oif, BsmQueue::Entry entry) {
  if (queueIs(oif).add(zone, std::move(entry))) {
    if (!timer_.armed()) timer_.timeMinIs(sm_.now() + turn);
    return;
  }
  VRF_TRACE(trace, 1, "Not sending a BSM of zone " << zone << " to " << oif << ", where too many wait");
  count(sm_.bsrStatus()->counters(), &PimBsrCounters::txInc, &PimBsrCounters::txErrorInc);
}

void BsmSender::waitingDelAll() {
  for (const auto &element : queue_) queue_.erase(element.key);
}

void BsmSender::sendWaiting() {
  bool isLeft = false;
  for (const auto &element : queue_) {
    sendWaiting(element.key, *element.value);
    isLeft = isLeft || !element.value->isEmpty();
  }
  if (isLeft) timer_.timeMinIs(sm_.now() + turn);
}

void BsmSender::sendWaiting(const Pax::IntfId &intfId, BsmQueue &queue) {
  const auto pimIntf = sm_.pimStatus()->pimIntf(intfId);
  if (!pimIntf || pimIntf->neighbor().empty()) return queue.clear();
  for (const auto &[key, entries] : queue.zone()) {
    const Pax::IpGenPrefix zone = key;
    if (!usableForZone(zone, intfId, *pimIntf)) {
      queue.zoneDel(zone);
      continue;
    }
    while (queue.holds(zone)) {
      if (!maySend(queue) || !sendWaiting(zone, intfId, *pimIntf, queue.first(zone))) return;
      queue.pop(zone);
    }
  }
}

bool BsmSender::sendWaiting(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId, const PimIntf &pimIntf,
                            BsmQueue::Entry &entry) {
  if (entry.fragments) return sendFragments(zone, intfId, entry);
  if (entry.isTriggered) return sendTriggered(zone, intfId, pimIntf.mtu(), entry);
  const bool isOut = sendBsm(zone, doComputeBsmLength(*entry.bsm), intfId, pimIntf.mtu(), entry);
  bsmFragmentsDelAll();
  return isOut;
}

}  // namespace Routing::Pim::Bsr
