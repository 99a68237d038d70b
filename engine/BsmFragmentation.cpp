// PimBsrSm: measuring messages and cutting those that do not fit an interface (RFC 5059 section 4.1).

#include <algorithm>
#include <iterator>

#include "engine/PimBsrSm.h"
#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::Sm");
}

uint32_t PimBsrSm::doComputeBsmLength(const Packet::BootstrapMessage &bsm) const {
  uint32_t rps = 0;
  for (const auto &group : bsm.groupData()) rps += group->rpCount();
  const auto groups = static_cast<uint32_t>(bsm.groupData().size());
  VRF_TRACE(trace, 8, "Number of Groups: " << groups << ", Total number of RPs: " << rps);
  return bsmHeaderLength + bsmGroupLength * groups + bsmRpLength * rps;
}

void PimBsrSm::fragmentAndSendBsm(const Pax::IpGenPrefix &zone, uint32_t mtu, uint32_t totalLength,
                                  const Pax::IntfId &oif, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  const auto *built = bsmFragments_.find(mtu);
  const PimBsrTxFragments &fragments = built ? **built : buildFragments(zone, mtu, totalLength, bsm);
  for (const PimBsrTxFragment &fragment : fragments.fragment()) {
    if (fragment.bsm()->groupData().empty() && !bsm->groupData().empty()) continue;
    handOver(oif, fragment.bsm());
    VRF_TRACE(trace, 4, " Forwarding BSM fragment to oif=" << oif << " for zone " << zone);
  }
}

PimBsrTxFragments &PimBsrSm::buildFragments(const Pax::IpGenPrefix &zone, uint32_t mtu, uint32_t totalLength,
                                            const Kiv::Ptr<Packet::BootstrapMessage> &bsm) {
  const bool scoped = zone != globalOrNonScopeZone_;
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

/// Receivers know a piece by tag and prefix: of the groups of one prefix (one a mode) only one may be
/// in pieces. Another goes whole into a fragment of its own.
void PimBsrSm::doSplitLater(const Pax::IpGenPrefix &zone, uint8_t zoneRpCount, PimBsrTxFragments &fragments,
                            const Kiv::Ptr<Packet::BootstrapGroupData> &group, GroupData &inPieces) {
  const auto isRival = [&](const auto &other) { return other != group && other->prefix() == group->prefix(); };
  if (std::ranges::none_of(inPieces, isRival)) {
    splitGroupRpData_.push_back(group);
    inPieces.push_back(group);
    return;
  }
  if (appendGroupData(zone, zoneRpCount, fragments, *group, vrfName())) return;
  VRF_TRACE(trace, 1, "Not forwarding a second group block of " << group->prefix() << " that needs to be split");
  if (const auto &counters = bsrStatus_->counters()) {
    counters->txInc();
    counters->txErrorInc();
  }
}

void PimBsrSm::bsmFragmentsDelAll() {
  for (const uint32_t mtu : bsmFragments_.keys()) bsmFragments_.erase(mtu);
}

}  // namespace Routing::Pim::Bsr
