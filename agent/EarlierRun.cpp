#include "agent/EarlierRun.h"

namespace Routing::Pim::Bsr {

void removeExtraVrfs(const Mounts &mounts) {
  const auto remove = [&mounts](auto &coll) {
    for (const L3::VrfName &vrf : coll.vrfStatus().keys()) {
      if (!mounts.allVrfStatusLocal->vrfStatus(vrf)) coll.vrfStatusDel(vrf);
    }
  };
  remove(*mounts.statusColl);
  remove(*mounts.rpCandidateStatusColl);
}

void removeExtraRps(const Status &status, RpCandidateStatus &published) {
  const auto isLearned = [&](const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) {
    for (const auto &[zone, learned] : status.crpStatus()) {
      const auto set = learned->status() ? learned->status()->crpSet(prefix) : nullptr;
      if (set && set->rp(rp)) return true;
    }
    return false;
  };
  for (const Pax::IpGenPrefix &prefix : published.crpSet().keys()) {
    const auto set = published.crpSet(prefix);
    for (const Pax::IpGenAddr &rp : set->rp().keys()) {
      if (!isLearned(prefix, rp)) set->rpDel(rp);
    }
    if (set->rp().empty()) published.crpSetDel(prefix);
  }
}

}  // namespace Routing::Pim::Bsr
