#include "engine/BsmReassembly.h"

#include <algorithm>
#include <cmath>

#include "engine/Capacity.h"
#include "engine/PimBsrSm.h"
#include "model/InternalStatus.h"
#include "model/Status.h"
#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Sm");

// What a collection takes when it is complete, so that one that has begun never lacks room to end.
uint64_t bytesOf(uint8_t rpCount) {
  constexpr uint64_t tableElement = 64;  // links, allocation and a share of the buckets
  return sizeof(PimBsrRxFragments) + sizeof(PimBsrRxFragment) + sizeof(PimBsrRxGroup) + 2 * tableElement +
         rpCount * (sizeof(Pax::IpGenAddr) + sizeof(PimBsrRxFragment::Rp) + tableElement);
}

}  // namespace

BsmReassembly::BsmReassembly(const PimBsrSm &sm) : sm_(sm), fragmentTimer_(sm.timerWheel(), *this) {}

const std::string &BsmReassembly::vrfName() const { return sm_.vrfName(); }

IO::BootstrapRefusal BsmReassembly::refusal(const Packet::BootstrapMessage &message) const {
  const Pax::IpGenPrefix zone = zoneOf(message, sm_.globalOrNonScopeZone());
  if (contradicts(zone, message)) return IO::BootstrapRefusal::contradiction;
  const uint64_t more = bytesToOpen(zone, message);
  const bool hasRoom = more == 0 || openBytes_ + more <= sm_.bsrStatus()->limits().openBytes;
  if (hasRoom) return IO::BootstrapRefusal::none;
  sm_.capacity().openBytesExceeded();
  return IO::BootstrapRefusal::memory;
}

bool BsmReassembly::contradicts(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm) const {
  if (sm_.bsrStatus()->mixedFragments() == MixedFragments::stop) return false;
  return std::ranges::any_of(bsm.groupData(), [&](const auto &group) {
    const PimBsrRxFragment *open = group->isPiece() ? openGroup(zone, bsm, group->prefix()) : nullptr;
    if (!open) return false;
    const auto more = std::ranges::count_if(group->rpList(), [&](const auto &rp) { return !open->rp(rp.address); });
    return group->rpCount() != open->rpCount() || open->rps() + static_cast<size_t>(more) > open->rpCount();
  });
}

uint64_t BsmReassembly::bytesToOpen(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm) const {
  uint64_t bytes = 0;
  for (const auto &group : bsm.groupData()) {
    if (group->isPiece() && !openGroup(zone, bsm, group->prefix())) bytes += bytesOf(group->rpCount());
  }
  return bytes;
}

const PimBsrRxFragment *BsmReassembly::openGroup(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm,
                                                 const Pax::IpGenPrefix &prefix) const {
  const auto *fragments = bsmRxFragments_.find(bsm.fragmentTag());
  const auto *fragment = fragments ? (*fragments)->groupRpData().find({zone, bsm.bsrAddress(), prefix}) : nullptr;
  return fragment ? fragment->get() : nullptr;
}

Kiv::Ptr<PimBsrRxFragment> BsmReassembly::collect(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm,
                                                  const Packet::BootstrapGroupData &piece) {
  VRF_TRACE(trace, 8,
            "RP Count=" << unsigned{piece.rpCount()} << " RP Frag Count=" << unsigned{piece.fragmentRpCount()}
                        << " Fragment Tag=" << bsm.fragmentTag());
  const auto fragments = bsmRxFragmentsIs(bsm.fragmentTag());
  const PimBsrRxGroup group{zone, bsm.bsrAddress(), piece.prefix()};
  const bool isNew = !fragments->groupRpData(group);
  const auto fragment = fragments->groupRpDataIs(group);
  if (isNew) {
    fragment->rpCountIs(piece.rpCount());
    fragment->creationTimeIs(sm_.now());
    openBytes_ += bytesOf(piece.rpCount());
  }
  if (fragment->rpCount() != fragment->rps()) {
    for (const Packet::BootstrapRpData &rp : piece.rpList()) fragment->rpIs(rp.address, {rp.holdTime, rp.priority});
  }
  if (fragment->rps() < fragment->rpCount()) return nullptr;
  REQUIRE_AS(fragment->rpCount() == fragment->rps(), "fragment->rpCount() == fragment->rps()");
  VRF_TRACE(trace, 8,
            "We have received all fragments to process fragment tag " << bsm.fragmentTag() << " and prefix "
                                                                      << piece.prefix());
  return fragment;
}

void BsmReassembly::collectedGroupDone(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm,
                                       const Pax::IpGenPrefix &prefix) {
  const uint16_t tag = bsm.fragmentTag();
  VRF_TRACE(trace, 1, "Fragments related to " << prefix << " from fragment tag " << tag << " processed");
  const auto fragments = bsmRxFragments(tag);
  groupDel(fragments, {zone, bsm.bsrAddress(), prefix});
  if (fragments->groupRpData().empty()) bsmRxFragmentsDel(tag);
}

Kiv::Ptr<PimBsrRxFragments> BsmReassembly::bsmRxFragments(uint16_t tag) const {
  const auto *present = bsmRxFragments_.find(tag);
  return present ? *present : nullptr;
}

Kiv::Ptr<PimBsrRxFragments> BsmReassembly::bsmRxFragmentsIs(uint16_t tag) {
  if (const auto present = bsmRxFragments(tag)) return present;
  const auto fragments = bsmRxFragments_.insert(tag, Kiv::make<PimBsrRxFragments>(tag));
  handleBsmRxFragments(tag);
  return fragments;
}

void BsmReassembly::bsmRxFragmentsDel(uint16_t tag) {
  const auto fragments = bsmRxFragments_.erase(tag);
  if (!fragments) return;
  for (const auto &[group, fragment] : fragments->groupRpData()) groupDel(fragments, group);
  handleBsmRxFragments(tag);
}

void BsmReassembly::groupDel(const Kiv::Ptr<PimBsrRxFragments> &fragments, PimBsrRxGroup group) {
  openBytes_ -= bytesOf(fragments->groupRpData(group)->rpCount());
  fragments->groupRpDataDel(group);
}

void BsmReassembly::bsmRxFragmentsDelAll() {
  for (const uint16_t tag : bsmRxFragments_.keys()) bsmRxFragmentsDel(tag);
}

void BsmReassembly::doKeepBsm(const Pax::IpGenPrefix &zone, LastBsm &lastBsm,
                              const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  Kiv::Ptr<PimBsrRxFragments> &fragments = lastBsm.lastBsmFragments;
  if (fragments && fragments->fragTag() != bsm->fragmentTag()) {
    discardRest(zone, lastBsm);
    VRF_TRACE(trace, 4, "Removing saved fragments related to tag " << fragments->fragTag());
  }
  fragments = bsmRxFragments(bsm->fragmentTag());
  remember(lastBsm, bsm);
}

void BsmReassembly::remember(LastBsm &lastBsm, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) const {
  Capacity &capacity = sm_.capacity();
  if (!lastBsm.bsmIs(bsm, sm_.now(), capacity.keptBytesOfZone())) capacity.keptBytesExceeded();
}

void BsmReassembly::handleBsmRxFragments(uint16_t tag) {
  VRF_TRACE_ENTRY(trace);
  if (bsmRxFragments_.contains(tag) && bsmRxFragments_.size() == 1) {
    fragmentTimer_.timeMinIs(sm_.now() + sm_.fragmentInterval());
    VRF_TRACE(trace, 5, "Started fragment timer to expire in " << sm_.fragmentInterval() << " seconds from now");
  }
  if (bsmRxFragments_.empty()) {
    fragmentTimer_.timeMinIs(Orb::never);
    VRF_TRACE(trace, 5, "Stopped fragment timer");
  }
}

void BsmReassembly::handleFragmentTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  for (const auto &element : bsmRxFragments_) {
    const uint16_t tag = element.key;
    const Kiv::Ptr<PimBsrRxFragments> fragments = element.value;
    discardAged(fragments);
    if (!fragments->groupRpData().empty()) continue;
    bsmRxFragmentsDel(tag);
    VRF_TRACE(trace, 1, "Deleted fragment " << tag << " due to timeout");
  }
  if (bsmRxFragments_.empty()) return;
  fragmentTimer_.timeMinIs(sm_.now() + sm_.fragmentInterval());
  VRF_TRACE(trace, 5, "Next fragmentTimerTimeout in " << sm_.fragmentInterval() << " seconds from now");
}

void BsmReassembly::discardAged(const Kiv::Ptr<PimBsrRxFragments> &fragments) {
  for (const auto &element : fragments->groupRpData()) {
    const Kiv::Ptr<PimBsrRxFragment> fragment = element.value;
    const double age = std::round(sm_.now() - fragment->creationTime());
    VRF_TRACE(trace, 1, "fragment " << fragment->prefix() << " around for " << age << " seconds");
    if (age < sm_.fragmentTimeout()) continue;
    VRF_TRACE(trace, 1,
              "Deleted Group fragment " << fragment->prefix() << " due to timeout. Num Rps=" << fragment->rps());
    groupDel(fragments, fragment->group());
  }
}

// Ends the collections that the zone's last messages have begun. Those of other zones and BSRs under their tag go on.
void BsmReassembly::discardRest(const Pax::IpGenPrefix &zone, const LastBsm &lastBsm) {
  for (const auto &bsm : lastBsm.all()) {
    const auto fragments = bsmRxFragments(bsm->fragmentTag());
    if (!fragments) return;
    for (const auto &group : bsm->groupData()) {
      const PimBsrRxGroup key{zone, bsm->bsrAddress(), group->prefix()};
      if (group->isPiece() && fragments->groupRpData(key)) groupDel(fragments, key);
    }
    if (fragments->groupRpData().empty()) bsmRxFragmentsDel(bsm->fragmentTag());
  }
}

}  // namespace Routing::Pim::Bsr
