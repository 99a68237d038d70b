// PimBsrSm: flooding messages out of the VRF's PIM interfaces, and the no-forward message to a new neighbour.

#include "engine/LastBsm.h"
#include "engine/Reactors.h"
#include "model/VrfTrace.h"
#include "platform/pim/HelloSpeaker.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::Sm");
}

bool PimBsrSm::forwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  if (!initialized_) return false;
  bool wentOut = false;
  const uint32_t length = doComputeBsmLength(*bsm);
  VRF_TRACE(trace, 8, "BSM length is " << length);
  for (const Pax::IntfId &intfId : pimStatus_->pimIntf().keys()) {
    const auto pimIntf = pimStatus_->pimIntf(intfId);
    if (!pimIntf || pimIntf->neighbor().empty() || !usableForZone(zone, intfId, *pimIntf)) continue;
    VRF_TRACE(trace, 8, "MTU of interface " << intfId << " is " << pimIntf->mtu());
    sendBsm(zone, length, intfId, pimIntf->mtu(), bsm);
    wentOut = true;
  }
  bsmFragmentsDelAll();
  return wentOut;
}

void PimBsrSm::doForwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  if (bsm->forward()) {
    forwardBsm(zone, bsm);
  } else {
    VRF_TRACE(trace, 4, "Not Forwarding bootstrap message since noForward bit is set");
  }
}

void PimBsrSm::doSendTriggeredBsm(const Pax::IpGenPrefix &zone, bool forward, const Pax::IntfId &intfId,
                                  const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  const auto pimIntf = pimStatus_->pimIntf(intfId);
  if (!initialized_ || !pimIntf || !usableForZone(zone, intfId, *pimIntf)) return;
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

bool PimBsrSm::usableForZone(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId, const PimIntf &pimIntf) const {
  if (isBorder(*bsrStatus_, zone, intfId)) return false;
  if (pimIntf.mtu() >= bsmLeastMtu) return true;
  VRF_TRACE(trace, 1, "No BSM to interface " << intfId << " since its MTU is " << pimIntf.mtu());
  return false;
}

void PimBsrSm::sendBsm(const Pax::IpGenPrefix &zone, uint32_t length, const Pax::IntfId &oif, uint32_t mtu,
                       const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  if (length > mtu) {
    fragmentAndSendBsm(zone, mtu, length, oif, bsm);
    return;
  }
  handOver(oif, bsm);
  VRF_TRACE(trace, 4, " Forwarding BSM to oif=" << oif << " for zone " << zone);
}

void PimBsrSm::handOver(const Pax::IntfId &oif, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  bsmStatus_->oifIntfIdIs(oif);
  bsmStatus_->txBsmIs(bsm);
  bsmStatus_->writeCountInc(1);
}

void PimBsrSm::handlePimIntf(const Pax::IntfId &intfId) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << intfId << " )");
  pimIntf_.erase(intfId);
  if (const auto pimIntf = pimStatus_->pimIntf(intfId)) {
    pimIntf_.insert(intfId, std::make_unique<KivPimIntf>(*this, intfId, pimIntf));
  }
}

void PimBsrSm::KivPimIntf::handleDrChange() {
  VRF_TRACE_ENTRY(trace);
  if (isDr_ && !notifier()->isDr()) {
    VRF_TRACE(trace, 4, "We are no longer DR on interface " << intfId_ << ". Generating changeroute event");
    wasDr_ = !isNewcomer();
  }
  isDr_ = notifier()->isDr();
}

void PimBsrSm::KivPimIntf::handleTriggeredHelloSent() {
  VRF_TRACE_ENTRY(trace);
  sm_.handleTriggeredHelloSent();
  const bool wasDr = std::exchange(wasDr_, false) || isDrWithoutTheNew();
  if (!isDr_ && !wasDr) return;
  VRF_TRACE(trace, 4,
            "Send No Forward BSM since " << (isDr_ ? "we are DR " : "we were DR ") << " on interface " << intfId_);
  doSendNoFwdBsm();
}

/// Whoever came later is new: first Hellos, the answers to them, and what follows the answers take up to
/// five seconds each.
double PimBsrSm::KivPimIntf::newSince() const { return sm_.now() - 3 * IO::HelloSpeaker::triggeredDelayMost; }

/// A newcomer, to whom all are new, leaves out the DR alone: where everybody starts, not everybody sends.
bool PimBsrSm::KivPimIntf::isDrWithoutTheNew() const {
  const PimIntf &pimIntf = *notifier();
  const bool weAreNew = isNewcomer();
  const auto takesPart = [&](const Pax::IpGenAddr &address, const PimNeighbor &neighbor) {
    return weAreNew ? address != pimIntf.dr() : neighbor.upTime() <= newSince();
  };
  return pimIntf.electedDr(takesPart) == pimIntf.address();
}

void PimBsrSm::KivPimIntf::doSendNoFwdBsm() {
  PimBsrSm &sm = sm_;
  const Pax::IntfId intfId = intfId_;
  bool sent = false;
  for (const auto &[zone, lastBsm] : sm.lastBsms()) {
    for (const auto &bsm : lastBsm->all()) {
      sm.doSendTriggeredBsm(zone, false, intfId, bsm);
      sent = true;
    }
  }
  if (!sent) VRF_TRACE(trace, 4, "No last BSM available to send triggered BSM");
}

}  // namespace Routing::Pim::Bsr
