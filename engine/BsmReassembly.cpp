// PimBsrSm: collecting the group blocks that are split over several fragments.

#include <cmath>

#include "engine/LastBsm.h"
#include "engine/Reactors.h"
#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::Sm");
}

/// The collection of the block's group with the block's RPs in it, if it is complete now.
Kiv::Ptr<PimBsrRxFragment> PimBsrSm::collectGroup(const Packet::BootstrapMessage &bsm,
                                                  const Packet::BootstrapGroupData &group) {
  VRF_TRACE(trace, 8,
            "RP Count=" << unsigned{group.rpCount()} << " RP Frag Count=" << unsigned{group.fragmentRpCount()}
                        << " Fragment Tag=" << bsm.fragmentTag());
  const auto fragments = bsmRxFragmentsIs(bsm.fragmentTag());
  const bool isNew = !fragments->groupRpData(group.prefix());
  const auto fragment = fragments->groupRpDataIs(group.prefix());
  if (isNew) {
    fragment->rpCountIs(group.rpCount());
    fragment->creationTimeIs(now());
  }
  if (fragment->rpCount() != fragment->rps()) {
    for (const Packet::BootstrapRpData &rp : group.rpList()) fragment->rpIs(rp.address, {rp.holdTime, rp.priority});
  }
  if (fragment->rps() < fragment->rpCount()) return nullptr;
  REQUIRE_AS(fragment->rpCount() == fragment->rps(), "fragment->rpCount() == fragment->rps()");
  VRF_TRACE(trace, 8,
            "We have received all fragments to process fragment tag " << bsm.fragmentTag() << " and prefix "
                                                                      << group.prefix());
  return fragment;
}

void PimBsrSm::collectedGroupDone(uint16_t tag, const Pax::IpGenPrefix &prefix) {
  VRF_TRACE(trace, 1, "Fragments related to " << prefix << " from fragment tag " << tag << " processed");
  const auto fragments = bsmRxFragments(tag);
  if (!fragments) return;
  fragments->groupRpDataDel(prefix);
  if (fragments->groupRpData().empty()) bsmRxFragmentsDel(tag);
}

Kiv::Ptr<PimBsrRxFragments> PimBsrSm::bsmRxFragments(uint16_t tag) const {
  const auto *present = bsmRxFragments_.find(tag);
  return present ? *present : nullptr;
}

Kiv::Ptr<PimBsrRxFragments> PimBsrSm::bsmRxFragmentsIs(uint16_t tag) {
  if (const auto present = bsmRxFragments(tag)) return present;
  const auto fragments = bsmRxFragments_.insert(tag, Kiv::make<PimBsrRxFragments>(tag));
  handleBsmRxFragments(tag);
  return fragments;
}

void PimBsrSm::bsmRxFragmentsDel(uint16_t tag) {
  if (bsmRxFragments_.erase(tag)) handleBsmRxFragments(tag);
}

void PimBsrSm::doKeepBsm(LastBsm &lastBsm, Kiv::Ptr<PimBsrRxFragments> &lastBsmFragments,
                         const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  lastBsm.bsmIs(bsm, now());
  if (lastBsmFragments && lastBsmFragments->fragTag() != bsm->fragmentTag()) {
    const uint16_t tag = lastBsmFragments->fragTag();
    bsmRxFragmentsDel(tag);
    VRF_TRACE(trace, 4, "Removing saved fragments related to tag " << tag);
  }
  lastBsmFragments = bsmRxFragments(bsm->fragmentTag());
}

void PimBsrSm::handleBsmRxFragments(uint16_t tag) {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  if (bsmRxFragments_.contains(tag) && bsmRxFragments_.size() == 1) {
    fragmentTimer_->timeMinIs(now() + fragmentInterval());
    VRF_TRACE(trace, 5, "Started fragment timer to expire in " << fragmentInterval() << " seconds from now");
  }
  if (bsmRxFragments_.empty()) {
    fragmentTimer_->timeMinIs(Orb::never);
    VRF_TRACE(trace, 5, "Stopped fragment timer");
  }
}

void PimBsrSm::handleFragmentTimerExpiry() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  for (const uint16_t tag : bsmRxFragments_.keys()) {
    const auto fragments = bsmRxFragments(tag);
    if (!fragments) continue;
    discardAged(*fragments);
    if (!fragments->groupRpData().empty()) continue;
    bsmRxFragmentsDel(tag);
    VRF_TRACE(trace, 1, "Deleted fragment " << tag << " due to timeout");
  }
  if (bsmRxFragments_.empty()) return;
  fragmentTimer_->timeMinIs(now() + fragmentInterval());
  VRF_TRACE(trace, 5, "Next fragmentTimerTimeout in " << fragmentInterval() << " seconds from now");
}

void PimBsrSm::discardAged(PimBsrRxFragments &fragments) const {
  for (const auto &element : fragments.groupRpData()) {
    const Kiv::Ptr<PimBsrRxFragment> fragment = element.value;
    const double age = std::round(now() - fragment->creationTime());
    VRF_TRACE(trace, 1, "fragment " << fragment->prefix() << " around for " << age << " seconds");
    if (age < fragmentTimeout()) continue;
    VRF_TRACE(trace, 1,
              "Deleted Group fragment " << fragment->prefix() << " due to timeout. Num Rps=" << fragment->rps());
    fragments.groupRpDataDel(fragment->prefix());
  }
}

}  // namespace Routing::Pim::Bsr
