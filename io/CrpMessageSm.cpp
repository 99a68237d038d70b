#include "io/CrpMessageSm.h"

#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::IO");

CrpMessageSm::CrpMessageSm(const Kiv::Ptr<IO::PamManager> &pimPamManager, const Kiv::Ptr<Status> &bsrStatus,
                           const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus, const Kiv::Ptr<IO::MessageInfo> &crpMsgInfo,
                           const Kiv::Ptr<RouteLookup> &ucastRouteStatus)
    : bsrStatus_(bsrStatus),
      crpMsgStatus_(crpMsgStatus),
      crpMsgInfo_(crpMsgInfo),
      ucastRouteStatus_(ucastRouteStatus),
      kivBsrStatus_(*this, bsrStatus),
      kivCrpMsgInfo_(*this, crpMsgInfo ? crpMsgInfo->rx() : nullptr),
      kivCrpMsgStatus_(*this, crpMsgStatus) {
  REQUIRE_AS(pimPamManager, "pimPamManager()");
  handleInitialize();
}

void CrpMessageSm::handleInitialize() {
  REQUIRE_AS(bsrStatus_, "bsrStatus()");
  REQUIRE_AS(crpMsgStatus_, "crpMsgStatus()");
  REQUIRE_AS(crpMsgInfo_, "crpMsgInfo()");
  REQUIRE_AS(ucastRouteStatus_, "ucastRouteStatus()");
  VRF_TRACE_ENTRY(trace);
  counters_ = bsrStatus_->counters();
  globalZone_ = Pax::allGroups(bsrStatus_->af());
  REQUIRE_AS(!globalZone_.isEmpty(), "0 && \"Unknown address family\"");
  const bool ipv4 = bsrStatus_->af() == Pax::AddressFamily::ipv4;
  crpPermitTrie_ = Kiv::make<TrieGen>(ipv4 ? "CrpPermitTrie" : "CrpPermitTrie6", bsrStatus_->af());
  crpPermitTrieBuilder_ = std::make_unique<PimBsrCrpPermitTrieBuilderSm>(bsrStatus_, crpPermitTrie_);
  initialized_ = true;
}

void CrpMessageSm::handleCrpAdvMessage() {
  VRF_TRACE_ENTRY(trace);
  if (!crpMsgInfo_->rx()->message()) return;
  handleCRPAdv(
      Kiv::Ptr<Packet::CrpAdvMessage>(static_cast<Packet::CrpAdvMessage *>(crpMsgInfo_->rx()->message().get())));
}

void CrpMessageSm::handleCRPAdv(const Kiv::Ptr<Packet::CrpAdvMessage> &advertisement) {
  VRF_TRACE_ENTRY(trace);
  count(counters_, &PimBsrCounters::rxInc, &PimBsrCounters::rxCrpAdvInc);
  if (!isPermitted(advertisement->source())) return deny(*advertisement);
  VRF_TRACE(trace, 4, "RX - Accepted CrpAdv from " << advertisement->source());
  crpMsgStatus_->bsrIpIs(advertisement->destination());
  crpMsgStatus_->rpIs(advertisement->rpAddress());
  crpMsgStatus_->priorityIs(advertisement->priority());
  crpMsgStatus_->holdTimeIs(advertisement->holdTime());
  crpMsgStatus_->rxCrpMsgIs(advertisement);
  const uint32_t refusedBefore = crpMsgStatus_->refusedCount();
  const auto &groups = advertisement->groupData()->groupInfo()->group;
  for (const Packet::CrpGroup &group : groups) handOver(group);
  if (groups.empty()) {
    VRF_TRACE(trace, 4, "RX - Received CRP Advertisement with 0 groups. Assuming 224.0.0.0/4 or ff00::/8");
    handOver({globalZone_});
  }
  if (crpMsgStatus_->refusedCount() != refusedBefore) tellRefused(IO::Refusal::notBsr, *advertisement);
  count(counters_, &PimBsrCounters::rxCrpAdvSuccessInc, &PimBsrCounters::rxSuccessInc);
}

bool CrpMessageSm::isPermitted(const Pax::IpGenAddr &source) const {
  return !crpPermitTrie_->longestMatch(Pax::IpGenPrefix::host(source)).isEmpty();
}

void CrpMessageSm::deny(const Packet::CrpAdvMessage &advertisement) {
  countDrop(counters_, &PimBsrCounters::rxCrpAdvErrorInc, &PimBsrErrorCounters::deniedError);
  if (counters_) counters_->errorInc(&PimBsrErrorCounters::deniedCrpAdv);
  VRF_TRACE(trace, 1,
            "RX - Dropping CRP Adv since Crp Adv Message from " << advertisement.source() << " is not permitted");
  tellRefused(IO::Refusal::filter, advertisement);
}

void CrpMessageSm::tellRefused(IO::Refusal reason, const Packet::CrpAdvMessage &advertisement) const {
  const bool isOwn = crpMsgStatus_->txCrpMsg().get() == &advertisement;
  crpMsgInfo_->tellRefused({.reason = reason,
                            .intfId = isOwn ? Pax::IntfId() : crpMsgInfo_->rx()->intfId(),
                            .source = advertisement.source(),
                            .bsr = advertisement.destination()});
}

void CrpMessageSm::handOver(const Packet::CrpGroup &group) {
  const auto one = Kiv::make<Packet::CrpGroupInfo>();
  one->group.push_back(group);
  crpMsgStatus_->groupInfoIs(one);
  crpMsgStatus_->readCountInc(1);
}

void CrpMessageSm::handleTransmission() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) {
    VRF_TRACE(trace, 1, "Uninitialized. Not Sending");
    return;
  }
  const Kiv::Ptr<Packet::CrpAdvMessage> advertisement = crpMsgStatus_->txCrpMsg();
  if (!advertisement) return;
  if (isLocalHost(advertisement->destination())) {
    VRF_TRACE(trace, 1, "TX - Sending CRP Advertisement locally");
    count(counters_, &PimBsrCounters::txSuccessInc);
    crpMsgStatus_->sentCountInc(1);
    handleCRPAdv(advertisement);
  } else {
    transmit(advertisement);
  }
}

void CrpMessageSm::transmit(const Kiv::Ptr<Packet::CrpAdvMessage> &advertisement) {
  IO::TransmitMessage &channel = crpMsgInfo_->tx();
  const uint32_t before = channel.count();
  channel.intfIdIs(Pax::IntfId());
  channel.messageIs(advertisement);
  channel.countInc(1);
  count(counters_, &PimBsrCounters::txInc);
  if (channel.count() != before) {
    count(counters_, &PimBsrCounters::txSuccessInc);
    crpMsgStatus_->sentCountInc(1);
  } else {
    count(counters_, &PimBsrCounters::txErrorInc);
    VRF_TRACE(trace, 1, "TX - Error sending CRP Advertisement");
  }
}

bool CrpMessageSm::isLocalHost(const Pax::IpGenAddr &address) const {
  REQUIRE_AS(address.af() != Pax::AddressFamily::unknown, "0 && \"Address Family unknown\"");
  return ucastRouteStatus_->lookup(address).kind == RouteAnswer::Kind::local;
}

}  // namespace Routing::Pim::Bsr
