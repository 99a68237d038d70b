#include "engine/RpSetStore.h"

#include <algorithm>

#include "engine/BsmReassembly.h"
#include "engine/Capacity.h"
#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Sm");

bool isGlobal(const Pax::IpGenPrefix &zone) { return zone == Pax::allGroups(zone.af()); }

}  // namespace

// One message being stored.
struct RpSetStore::Store {
  const Pax::IpGenPrefix &zone;
  const Packet::BootstrapMessage &bsm;
  const bool refresh;
  const double now;
};

void RpSetStore::storeRpSet(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm, bool refresh) {
  if (!refresh) keepOwnSet(zone);
  const Store store{zone, bsm, refresh, sm_.now()};
  for (const auto &group : bsm.groupData()) {
    if (!storeGroup(store, *group)) return;
  }
}

// False for a message that cannot be stored.
bool RpSetStore::storeGroup(const Store &store, const Packet::BootstrapGroupData &group) {
  const bool split = group.isPiece();
  const Packet::BootstrapGroupData::RpList *rps = &group.rpList();
  if (split) {
    const auto collected = sm_.reassembly().collect(store.zone, store.bsm, group);
    if (!collected) return true;
    collectedRps_.clear();
    for (const auto &[address, rp] : collected->rp()) collectedRps_.push_back({address, rp.holdTime, rp.priority});
    rps = &collectedRps_;
  }
  const Pax::IpGenPrefix prefix = group.prefix();
  const auto set = setToStoreInto(store, prefix, *rps);
  if (!set) {
    if (split && !store.refresh) sm_.reassembly().collectedGroupDone(store.zone, store.bsm, prefix);
    return true;
  }

  bool good = true;
  for (const Packet::BootstrapRpData &rp : *rps) {
    good = storeRp(store, *set, group, rp);
    if (!good) break;
  }
  removeEmptySet(store.zone, prefix);
  if (good && split) sm_.reassembly().collectedGroupDone(store.zone, store.bsm, prefix);
  return good;
}

// Null when there is nothing to store into: in a refresh, or when no RP would stay in a new set, or fit.
Kiv::Ptr<RpCandidateSet> RpSetStore::setToStoreInto(const Store &store, const Pax::IpGenPrefix &prefix,
                                                    const Packet::BootstrapGroupData::RpList &rps) {
  auto zoneStatus = bsrStatus_->crpStatus(store.zone);
  if (!zoneStatus) {
    if (store.refresh) return nullptr;
    zoneStatus = bsrStatus_->crpStatusIs(store.zone);
    zoneStatus->statusIs("")->rpSetTypeIs(rpSetTypeBsr);
  }
  const auto status = zoneStatus->statusIs("");
  if (const auto set = status->crpSet(prefix)) return set;
  if (store.refresh || std::none_of(rps.begin(), rps.end(), [](const auto &rp) { return rp.holdTime != 0; })) {
    return nullptr;
  }
  if (!sm_.capacity().admitsSet(store.zone, prefix, rps)) return nullptr;
  VRF_TRACE(trace, 4, "Creating Rp set associated with prefix " << prefix);
  return status->crpSetIs(prefix);
}

bool RpSetStore::storeRp(const Store &store, RpCandidateSet &set, const Packet::BootstrapGroupData &group,
                         const Packet::BootstrapRpData &data) const {
  if (data.holdTime == 0) {
    set.rpDel(data.address);
    VRF_TRACE(trace, 4, "Deleted RP " << data.address << " since holdtime is 0");
    return true;
  }
  auto rp = set.rp(data.address);
  if (!rp && (store.refresh || !sm_.capacity().admitsRp(group.prefix(), data.address))) return true;
  if (store.bsm.hashMaskLen() > RpHashMaskLenRule::most) {
    VRF_TRACE(trace, 1, RpHashMaskLenRule::text);
    return false;
  }
  if (rp) {
    VRF_TRACE(trace, 4, "Updating RP " << data.address << " to prefix " << group.prefix() << " in zone " << store.zone);
  } else {
    rp = set.rpIs(data.address);
    rp->setupTimeIs(store.now);
    VRF_TRACE(trace, 4,
              "Adding RP " << data.address << " to prefix " << group.prefix() << " in zone " << store.zone
                           << " with setup time of " << store.now);
  }
  rp->pimModeIs(group.bidir() ? Mode::bidir : Mode::sparse);
  rp->priorityIs(data.priority);
  rp->holdTimeIs(data.holdTime);
  rp->hashMaskLenIs(store.bsm.hashMaskLen());
  rp->expiresIs(store.now + data.holdTime);
  VRF_TRACE(trace, 5, "RP " << data.address << " to expire in " << data.holdTime << " from now");
  return true;
}

void RpSetStore::keepOwnSet(const Pax::IpGenPrefix &zone) {
  if (isGlobal(zone)) return;
  const auto status = bsrStatus_->crpStatusIs(zone)->statusIs("");
  status->rpSetTypeIs(rpSetTypeBsr);
  if (status->crpSet(zone)) return;
  VRF_TRACE(trace, 4, "Creating Rp set associated with prefix " << zone);
  status->crpSetIs(zone);
}

bool RpSetStore::hasRps(const Pax::IpGenPrefix &zone) const {
  const auto sets = rpSetsOf(*bsrStatus_, zone);
  if (!sets) return false;
  for (const auto &[prefix, set] : sets->crpSet()) {
    if (!set->rp().empty()) return true;
  }
  return false;
}

void RpSetStore::hashMaskLenIs(const Pax::IpGenPrefix &zone, uint32_t length) const {
  const auto sets = rpSetsOf(*bsrStatus_, zone);
  if (!sets) {
    VRF_TRACE(trace, 8, "No CRP have been populated for zone " << zone);
    return;
  }
  REQUIRE_AS(length <= hashMaskLenUnset, "RpHashMaskLen::value < 0 or > 128 not allowed");
  for (const auto &[prefix, set] : sets->crpSet()) {
    for (const auto &[address, rp] : set->rp()) {
      rp->hashMaskLenIs(RpHashMaskLen(length));
      VRF_TRACE(
          trace, 4,
          "Setting hash mask Len to " << length << " for RP " << address << " in rp candidate set for zone " << zone);
    }
  }
}

void RpSetStore::clearRpSet(const Pax::IpGenPrefix &zone) {
  if (const auto sets = rpSetsOf(*bsrStatus_, zone)) sets->crpSetDelAll();
}

void RpSetStore::rpDel(Pax::IpGenPrefix zone, Pax::IpGenPrefix prefix, Pax::IpGenAddr address) {
  if (const auto set = rpSetOf(*bsrStatus_, zone, prefix)) set->rpDel(address);
  removeEmptySet(zone, prefix);
}

void RpSetStore::removeEmptySet(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) {
  const auto sets = rpSetsOf(*bsrStatus_, zone);
  if (!sets) return;
  const bool hasBsr = bool(bsrStatus_->bootstrapRouter(zone));
  const auto set = sets->crpSet(prefix);
  const bool keptForScope = hasBsr && prefix == zone && !isGlobal(zone);
  if (set && set->rp().empty() && !keptForScope) {
    VRF_TRACE(trace, 5, "Deleted rpset for prefix " << prefix << " in zone " << zone);
    sets->crpSetDel(prefix);
  }
  if (!hasBsr && sets->crpSet().empty()) bsrStatus_->crpStatusDel(zone);
}

}  // namespace Routing::Pim::Bsr
