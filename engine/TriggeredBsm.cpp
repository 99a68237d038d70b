#include "engine/TriggeredBsm.h"

#include "engine/LastBsm.h"
#include "model/VrfTrace.h"
#include "platform/pim/HelloSpeaker.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Sm");

PimBsrSm::KivPimIntf::KivPimIntf(PimBsrSm &sm, const Pax::IntfId &intfId, const Kiv::Ptr<const PimIntf> &pimIntf)
    : ReactorOf(sm, pimIntf), intfId_(intfId), isDr_(pimIntf->isDr()) {}

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
  owner_.handleTriggeredHelloSent();
  const bool wasDr = std::exchange(wasDr_, false) || isDrWithoutTheNew();
  if (!isDr_ && !wasDr) return;
  VRF_TRACE(trace, 4,
            "Send No Forward BSM since " << (isDr_ ? "we are DR " : "we were DR ") << " on interface " << intfId_);
  doSendNoFwdBsm();
}

// Whoever came later is new: first Hellos, the answers to them, and what follows the answers take up to
// five seconds each.
double PimBsrSm::KivPimIntf::newSince() const { return owner_.now() - 3 * IO::HelloSpeaker::triggeredDelayMost; }

bool PimBsrSm::KivPimIntf::isNewcomer() const { return owner_.startTime_ > newSince(); }

// A newcomer, to whom all are new, leaves out only the DR: where everybody starts, not everybody sends.
bool PimBsrSm::KivPimIntf::isDrWithoutTheNew() const {
  const PimIntf &pimIntf = *notifier();
  const bool weAreNew = isNewcomer();
  const auto takesPart = [&](const Pax::IpGenAddr &address, const PimNeighbor &neighbor) {
    return weAreNew ? address != pimIntf.dr() : neighbor.upTime() <= newSince();
  };
  return pimIntf.electedDr(takesPart) == pimIntf.address();
}

void PimBsrSm::KivPimIntf::doSendNoFwdBsm() {
  bool sent = false;
  for (const auto &[zone, lastBsm] : owner_.lastBsms()) {
    for (const auto &bsm : lastBsm->all()) {
      owner_.doSendTriggeredBsm(zone, false, intfId_, bsm);
      sent = true;
    }
  }
  if (!sent) VRF_TRACE(trace, 4, "No last BSM available to send triggered BSM");
}

}  // namespace Routing::Pim::Bsr
