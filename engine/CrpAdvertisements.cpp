#include "engine/CrpAdvertisements.h"

#include <algorithm>

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::RpCandidateSm");

constexpr size_t mostCounted = CrpGoodbyes::mostCounted;
constexpr uint8_t flagBidir = 0x80;
constexpr uint8_t flagAdminScope = 0x01;

}  // namespace

bool CrpAdvertisements::advertise(const CrpOptions &options, const Pax::IpGenPrefix &zone, const Prefixes &prefixes,
                                  const RpCandidate &crp) {
  if (prefixes.empty() || !bsrOf(zone)) return false;
  const Heading heading{zone, options.priority, crp.mode() == Mode::bidir};
  if (send(options.rpAddress, heading, prefixes, CrpGoodbyes::holdTimeOf(crp))) {
    goodbyes_.toldIs(options, zone, prefixes, crp);
  }
  return true;
}

bool CrpAdvertisements::withdraw(const CrpOptions &options, bool ended) {
  const Pax::IpGenAddr &rpAddress = options.rpAddress;
  bool said = false;
  for (const auto &[heading, prefixes] : goodbyes_.due(options, ended)) {
    said |= sayGoodbye(rpAddress, heading, prefixes);
  }
  if (!bsrStatus_->crp(rpAddress)) doRetryLater(rpAddress);
  return said;
}

// While an RP is served somewhere, the goodbye for a zone without BSR waits until it has one.
bool CrpAdvertisements::sayGoodbye(const Pax::IpGenAddr &rpAddress, const Heading &heading, const Prefixes &prefixes) {
  const bool hasBsr = bool(bsrOf(heading.zone));
  if (!hasBsr && bsrStatus_->crp(rpAddress)) return false;
  const bool sent = hasBsr && send(rpAddress, heading, prefixes, 0);
  goodbyes_.saidIs(rpAddress, heading, prefixes, sent, sm_.now());
  return hasBsr;
}

void CrpAdvertisements::doRetryLater(const Pax::IpGenAddr &rpAddress) {
  const double delay = goodbyes_.holdTimeTold(rpAddress) / 3.0;
  if (delay == 0 || goodbyeTimer_.timeMin() <= sm_.now() + delay) return;
  VRF_TRACE(trace, 5, "Setting up goodbye timer to fire in " << delay << " seconds from now");
  goodbyeTimer_.timeMinIs(sm_.now() + delay);
}

void CrpAdvertisements::handleGoodbyeTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  for (const Pax::IpGenAddr &rpAddress : goodbyes_.gone()) withdraw({rpAddress, rpPriorityUnset});
}

Kiv::Ptr<const ElectedBsrStatus> CrpAdvertisements::bsrOf(const Pax::IpGenPrefix &zone) const {
  const Kiv::Ptr<const ElectedBsrStatus> bsr = bsrStatus_->bootstrapRouter(zone);
  return bsr && !bsr->ipAddr().isZero() ? bsr : nullptr;
}

uint8_t CrpAdvertisements::groupFlags(const Pax::IpGenPrefix &zone, bool bidir) const {
  uint8_t flags = bidir ? flagBidir : 0;
  if (zone != Pax::allGroups(bsrStatus_->af()) && bsrStatus_->bsBorder(zone)) {
    VRF_TRACE(trace, 7, "C-RP is a ZBR");
    flags |= flagAdminScope;
  }
  return flags;
}

// False if it could not be sent.
bool CrpAdvertisements::send(const Pax::IpGenAddr &rpAddress, const Heading &heading, const Prefixes &prefixes,
                             CrpHoldTime holdTime) {
  const auto message = Kiv::make<Packet::CrpAdvMessage>();
  if (prefixes.size() > mostCounted) {
    VRF_TRACE(trace, 1,
              "Configured prefixes are greater than " << mostCounted << ". Publishing only the maximum possible.");
  }
  message->prefixCountIs(static_cast<uint8_t>(std::min(prefixes.size(), mostCounted)));
  message->priorityIs(heading.priority);
  message->holdTimeIs(holdTime);
  message->rpAddressIs(rpAddress);
  message->sourceIs(rpAddress);
  message->destinationIs(bsrOf(heading.zone)->ipAddr());
  const uint8_t flags = groupFlags(heading.zone, heading.bidir);
  const auto groupInfo = Kiv::make<Packet::CrpGroupInfo>();
  for (const Pax::IpGenPrefix &prefix : prefixes) {
    if (groupInfo->group.size() > mostCounted) break;  // one more than is counted
    VRF_TRACE(trace, 5,
              "BSR setting groupFlags for group " << prefix << " to : " << std::hex << unsigned{flags} << std::dec);
    groupInfo->group.push_back({prefix, (flags & flagAdminScope) != 0, (flags & flagBidir) != 0});
  }
  message->groupData()->groupInfoIs(groupInfo);
  VRF_TRACE(trace, 4,
            "Sending CRP Advertisement message to BSR " << message->destination() << " containing "
                                                        << unsigned{message->prefixCount()} << " prefixes");
  PimCrpMsgStatus &crpMsgStatus = *sm_.crpMsgStatus();
  const uint32_t before = crpMsgStatus.sentCount();
  crpMsgStatus.txCrpMsgIs(message);
  crpMsgStatus.writeCountInc(1);
  return crpMsgStatus.sentCount() != before;
}

}  // namespace Routing::Pim::Bsr
