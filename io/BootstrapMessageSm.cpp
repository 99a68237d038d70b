#include "io/BootstrapMessageSm.h"

#include <algorithm>

#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::IO");

BootstrapMessageSm::BootstrapMessageSm(const Kiv::Ptr<IO::PamManager> &pimPamManager, const Kiv::Ptr<Status> &bsrStatus,
                                       const Kiv::Ptr<PimBsmStatus> &bsmStatus,
                                       const Kiv::Ptr<IO::MessageInfo> &bsmInfo, const Kiv::Ptr<PimRpfTable> &rpfTable,
                                       const Orb::Clock &clock)
    : bsrStatus_(bsrStatus),
      bsmStatus_(bsmStatus),
      bsmInfo_(bsmInfo),
      rpfTable_(rpfTable),
      clock_(clock),
      kivBsrStatus_(*this, bsrStatus),
      kivBsmInfo_(*this, bsmInfo ? bsmInfo->rx() : nullptr),
      kivBsmStatus_(*this, bsmStatus) {
  REQUIRE_AS(pimPamManager, "pimPamManager()");
  handleInitialize();
}

BootstrapMessageSm::~BootstrapMessageSm() { lastBsmDelAll(); }

void BootstrapMessageSm::handleInitialize() {
  REQUIRE_AS(rpfTable_, "rpfTable()");
  REQUIRE_AS(bsrStatus_, "bsrStatus()");
  REQUIRE_AS(bsmInfo_, "bsmInfo()");
  REQUIRE_AS(bsmStatus_, "bsmStatus()");
  VRF_TRACE_ENTRY(trace);
  counters_ = bsrStatus_->counters();
  startupTime_ = clock_.now();
  globalZone_ = Pax::allGroups(bsrStatus_->af());
  REQUIRE_AS(!globalZone_.isEmpty(), "0 && \"Unknown address family\"");
  if (counters_) {
    counters_->rxIs(0);
    counters_->rxErrorIs(0);
    counters_->rxSuccessIs(0);
    counters_->txIs(0);
    counters_->txErrorIs(0);
    counters_->txSuccessIs(0);
    counters_->errCountersIs({});
  }
  initialized_ = true;
}

void BootstrapMessageSm::handleBootstrapMessage() {
  VRF_TRACE_ENTRY(trace);
  handleBSM();
}

void BootstrapMessageSm::handleBSM() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_ || !bsmInfo_->rx()->message()) return;
  const Kiv::Ptr<Packet::BootstrapMessage> bsm(
      static_cast<Packet::BootstrapMessage *>(bsmInfo_->rx()->message().get()));
  count(counters_, &PimBsrCounters::rxInc, &PimBsrCounters::rxBsmInc);
  const Pax::IpGenPrefix zone = zoneOf(*bsm, globalZone_);
  if (!destinationPasses()) return;
  if (bsm->forward() ? !rpfPasses(*bsm) : !noForwardPasses(zone)) return;
  if (!borderPasses(zone)) return;
  accept(zone, bsm);
}

uint32_t BootstrapMessageSm::bsPeriod(const Pax::IpGenPrefix &zone) const {
  const auto candidate = bsrStatus_->cbsr(zone);
  return candidate && candidate->bsPeriod() != bsPeriodUnset ? candidate->bsPeriod() : bsPeriodDefault_;
}

bool BootstrapMessageSm::destinationPasses() {
  const Pax::IpGenAddr &destination = bsmInfo_->rx()->destination();
  if (!destination.isMulticast()) {
    VRF_TRACE(trace, 1, "RX - Error - Unicast BSM not supported." << destination);
    drop(&PimBsrErrorCounters::unicastBsmError, IO::Refusal::unicast);
    return false;
  }
  if (destination != Pax::allPimRouters(bsrStatus_->af())) {
    VRF_TRACE(trace, 1, "RX - Error - Do not know what we are dealing with here: " << destination);
    drop(&PimBsrErrorCounters::unknownDestError, IO::Refusal::destination);
    return false;
  }
  return true;
}

bool BootstrapMessageSm::noForwardPasses(const Pax::IpGenPrefix &zone) {
  const double sinceStartup = clock_.now() - startupTime_;
  const bool known = zone_.contains(zone);
  if (!known && sinceStartup <= bsPeriod(zone)) return true;
  VRF_TRACE(trace, 1,
            "RX - Error - Dropping BSM. We expect no-forward BSM only if quick refresh. lastBsm="
                << (known ? "NULL" : "Set") << ", TimeSince startup=" << sinceStartup
                << ", bsPeriod=" << bsPeriod(zone));
  drop(&PimBsrErrorCounters::noFwdBsmError, IO::Refusal::noForward);
  return false;
}

bool BootstrapMessageSm::rpfPasses(const Packet::BootstrapMessage &bsm) {
  const IO::ReceivedMessage &received = *bsmInfo_->rx();
  const RpfInfo rpf = rpfTable_->doLookup(bsm.bsrAddress(), Pax::IpGenAddr());
  if (rpf.neighbor.isZero()) {
    VRF_TRACE(trace, 1,
              "RX - Error - Dropping BSM since BSM src " << received.source() << " for BSR address " << bsm.bsrAddress()
                                                         << " - RPF neighbor not available.");
    drop(&PimBsrErrorCounters::rpfError, IO::Refusal::noRoute);
    return false;
  }
  if (received.intfId() != rpf.intfId || received.source() != rpf.neighbor) {
    VRF_TRACE(trace, 1,
              "RX - Error - Dropping BSM since BSM src " << received.source() << "(" << received.intfId()
                                                         << ") is not from neighbor " << rpf.neighbor << "("
                                                         << rpf.intfId << ") for BSR address " << bsm.bsrAddress());
    drop(&PimBsrErrorCounters::rpfError, IO::Refusal::rpfNeighbor, rpf.neighbor);
    return false;
  }
  return true;
}

bool BootstrapMessageSm::borderPasses(const Pax::IpGenPrefix &zone) {
  const Pax::IntfId &intfId = bsmInfo_->rx()->intfId();
  if (!isBorder(*bsrStatus_, zone, intfId)) return true;
  VRF_TRACE(trace, 1,
            "RX: Error - Dropping BSM since the interface "
                << intfId << " the message arrived on is a BSR border for group" << zone);
  drop(&PimBsrErrorCounters::deniedError, IO::Refusal::border);
  return false;
}

void BootstrapMessageSm::accept(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  VRF_TRACE(trace, 4, "RX - Accepted BSM from " << bsmInfo_->rx()->source());
  note(*bsm);
  lastBsmIs(zone, bsm);
  bsmStatus_->iifIntfIdIs(bsmInfo_->rx()->intfId());
  bsmStatus_->firstGroupIs(bsm->groupData().empty() ? nullptr : bsm->groupData().front());
  bsmStatus_->rxBsmIs(bsm);
  count(counters_, &PimBsrCounters::rxBsmSuccessInc, &PimBsrCounters::rxSuccessInc);
  maybeLastBsmDel(zone);
}

void BootstrapMessageSm::handleTransmission() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  IO::TransmitMessage &channel = bsmInfo_->tx();
  const uint32_t before = channel.count();
  channel.intfIdIs(bsmStatus_->oifIntfId());
  channel.messageIs(bsmStatus_->txBsm());
  channel.countInc(1);
  const bool sent = channel.count() != before;
  if (sent) note(*bsmStatus_->txBsm());
  count(counters_, &PimBsrCounters::txInc, sent ? &PimBsrCounters::txSuccessInc : &PimBsrCounters::txErrorInc);
}

void BootstrapMessageSm::drop(uint32_t PimBsrErrorCounters::*counter, IO::Refusal reason,
                              const Pax::IpGenAddr &neighbor) {
  countDrop(counters_, &PimBsrCounters::rxBsmErrorInc, counter);
  const IO::ReceivedMessage &received = *bsmInfo_->rx();
  const auto &bsm = static_cast<const Packet::BootstrapMessage &>(*received.message());
  bsmInfo_->tellRefused({.reason = reason,
                         .intfId = received.intfId(),
                         .source = received.source(),
                         .bsr = bsm.bsrAddress(),
                         .neighbor = neighbor,
                         .isBootstrap = true,
                         .fragmentTag = bsm.fragmentTag()});
}

void BootstrapMessageSm::note(const Packet::BootstrapMessage &bsm) {
  const Known noted{bsm.bsrAddress(), bsm.fragmentTag()};
  if (known_[lastKnown_] == noted) return;
  lastKnown_ = (lastKnown_ + 1) % known_.size();
  known_[lastKnown_] = noted;
}

bool BootstrapMessageSm::knows(const Pax::IpGenAddr &bsr, uint16_t fragmentTag) const {
  return std::find(known_.begin(), known_.end(), Known{bsr, fragmentTag}) != known_.end();
}

Kiv::Ptr<Packet::BootstrapMessage> BootstrapMessageSm::lastBsm(const Pax::IpGenPrefix &zone) const {
  const Zone *known = zone_.find(zone);
  return known ? known->lastBsm : nullptr;
}

const HeardBsrs *BootstrapMessageSm::heardBsrs(const Pax::IpGenPrefix &zone) const {
  const Zone *known = zone_.find(zone);
  return known ? &known->heard : nullptr;
}

void BootstrapMessageSm::lastBsmIs(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  Zone *known = zone_.find(zone);
  if (!known) known = &zone_.insert(zone, {});
  known->lastBsm = bsm;
  const IO::ReceivedMessage &received = *bsmInfo_->rx();
  known->heard.heard(bsm->bsrAddress(), bsm->priority(), received.source(), received.intfId(), clock_.now());
}

void BootstrapMessageSm::maybeLastBsmDel(const Pax::IpGenPrefix &zone) {
  if (zone_.size() > bsrStatus_->limits().zones && !bsrStatus_->bootstrapRouter(zone)) lastBsmDel(zone);
}

void BootstrapMessageSm::lastBsmDelAll() {
  for (const Pax::IpGenPrefix &zone : zone_.keys()) lastBsmDel(zone);
}

}  // namespace Routing::Pim::Bsr
