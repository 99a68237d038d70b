#include "engine/BsmReassembly.h"

#include <cmath>

#include "engine/PimBsrSm.h"
#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Sm");

BsmReassembly::BsmReassembly(const PimBsrSm &sm) : sm_(sm), fragmentTimer_(sm.timerWheel(), *this) {}

const std::string &BsmReassembly::vrfName() const { return sm_.vrfName(); }

Kiv::Ptr<PimBsrRxFragment> BsmReassembly::collect(const Packet::BootstrapMessage &bsm,
                                                  const Packet::BootstrapGroupData &piece) {
  VRF_TRACE(trace, 8,
            "RP Count=" << unsigned{piece.rpCount()} << " RP Frag Count=" << unsigned{piece.fragmentRpCount()}
                        << " Fragment Tag=" << bsm.fragmentTag());
  const auto fragments = bsmRxFragmentsIs(bsm.fragmentTag());
  const bool isNew = !fragments->groupRpData(piece.prefix());
  const auto fragment = fragments->groupRpDataIs(piece.prefix());
  if (isNew) {
    fragment->rpCountIs(piece.rpCount());
    fragment->creationTimeIs(sm_.now());
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

void BsmReassembly::collectedGroupDone(uint16_t tag, const Pax::IpGenPrefix &prefix) {
  VRF_TRACE(trace, 1, "Fragments related to " << prefix << " from fragment tag " << tag << " processed");
  const auto fragments = bsmRxFragments(tag);
  fragments->groupRpDataDel(prefix);
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
  if (bsmRxFragments_.erase(tag)) handleBsmRxFragments(tag);
}

void BsmReassembly::bsmRxFragmentsDelAll() {
  for (const uint16_t tag : bsmRxFragments_.keys()) bsmRxFragmentsDel(tag);
}

void BsmReassembly::doKeepBsm(LastBsm &lastBsm, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  Kiv::Ptr<PimBsrRxFragments> &fragments = lastBsm.lastBsmFragments;
  lastBsm.bsmIs(bsm, sm_.now());
  if (fragments && fragments->fragTag() != bsm->fragmentTag()) {
    const uint16_t tag = fragments->fragTag();
    bsmRxFragmentsDel(tag);
    VRF_TRACE(trace, 4, "Removing saved fragments related to tag " << tag);
  }
  fragments = bsmRxFragments(bsm->fragmentTag());
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
    discardAged(*fragments);
    if (!fragments->groupRpData().empty()) continue;
    bsmRxFragmentsDel(tag);
    VRF_TRACE(trace, 1, "Deleted fragment " << tag << " due to timeout");
  }
  if (bsmRxFragments_.empty()) return;
  fragmentTimer_.timeMinIs(sm_.now() + sm_.fragmentInterval());
  VRF_TRACE(trace, 5, "Next fragmentTimerTimeout in " << sm_.fragmentInterval() << " seconds from now");
}

void BsmReassembly::discardAged(PimBsrRxFragments &fragments) const {
  for (const auto &element : fragments.groupRpData()) {
    const Kiv::Ptr<PimBsrRxFragment> fragment = element.value;
    const double age = std::round(sm_.now() - fragment->creationTime());
    VRF_TRACE(trace, 1, "fragment " << fragment->prefix() << " around for " << age << " seconds");
    if (age < sm_.fragmentTimeout()) continue;
    VRF_TRACE(trace, 1,
              "Deleted Group fragment " << fragment->prefix() << " due to timeout. Num Rps=" << fragment->rps());
    fragments.groupRpDataDel(fragment->prefix());
  }
}

}  // namespace Routing::Pim::Bsr
