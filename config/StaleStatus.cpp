#include "config/StaleStatus.h"

#include "config/ConfigSm.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::ConfigSm");
}

Status &StaleStatus::status() const { return *configSm_.status(); }
const std::string &StaleStatus::vrfName() const { return configSm_.vrfName(); }

void StaleStatus::remove() {
  if (isFresh()) return;
  gather();
  removeBorders();
  removeCandidateBsrs();
  removeZoneOwners();
  removeCandidateRps();
  removePermits();
}

bool StaleStatus::isFresh() const {
  return status().bsBorder().empty() && status().cbsr().empty() && status().zoneGroup().empty() &&
         status().zoneAcl().empty() && status().crp().empty() && status().crpPermit().empty();
}

void StaleStatus::gather() {
  const auto hasAddress = [this](const Pax::IntfId &intfId) {
    return !configSm_.sourceIntfSm()->ipAddr(intfId).isZero();
  };
  const Sources sources = configSm_.sources();
  for (const Source &source : sources) {
    if (source.role != Role::candidateBsr || !source.hasOptions() || !hasAddress(source.intfId)) continue;
    if (source.isAcl()) {
      zoneAcls_.emplace(source.intfId, source.acl);
    } else {
      zoneGroups_.emplace(source.intfId, source.range);
    }
  }
  for (const auto &[source, prefix, lack] : offersOf(sources, configSm_.permits())) {
    if (!lack.empty()) continue;
    const std::pair at(source.intfId, prefix);
    switch (source.role) {
      case Role::border: borders_.insert(at); break;
      case Role::candidateBsr:
        if (hasAddress(source.intfId)) zones_.insert(prefix);
        break;
      case Role::candidateRp:
        rpPrefixes_.insert(at);
        if (source.hasOptions()) rpPriorities_.insert(at);
        break;
      case Role::filter: permits_.insert(prefix); break;
    }
  }
}

void StaleStatus::removeBorders() {
  for (const auto &[prefix, border] : status().bsBorder()) {
    for (const auto &[intfId, in] : border->intfId()) {
      if (borders_.contains({intfId, prefix})) continue;
      VRF_TRACE(trace, 4, "Deleted Interface " << intfId << " from prefix " << prefix << " in status");
      border->intfIdDel(intfId);
    }
    if (!border->intfId().empty()) continue;
    VRF_TRACE(trace, 4, "Deleting prefix " << prefix << " from status");
    status().bsBorderDel(prefix);
  }
}

void StaleStatus::removeCandidateBsrs() {
  for (const Pax::IpGenPrefix &zone : status().cbsr().keys()) {
    if (!zones_.contains(zone)) removeCandidateBsr(zone);
  }
}

// With what it had collected as the elected BSR.
void StaleStatus::removeCandidateBsr(const Pax::IpGenPrefix &zone) {
  VRF_TRACE(trace, 4, "Deleting zone " << zone << " from CBSR status");
  const Kiv::Ptr<BsrCandidate> candidate = status().cbsr(zone);
  const Kiv::Ptr<ElectedBsrStatus> elected = status().bootstrapRouter(zone);
  if (candidate->elected() && elected && elected->ipAddr() == candidate->address()) {
    VRF_TRACE(trace, 4, "Removing this router as elected BSR of zone " << zone);
    status().bootstrapRouterDel(zone);
    status().crpStatusDel(zone);
  }
  status().cbsrDel(zone);
}

void StaleStatus::removeZoneOwners() {
  for (const Pax::IpGenPrefix &prefix : status().zoneGroup().keys()) {
    if (zoneGroups_.contains({*status().zoneGroup(prefix), prefix})) continue;
    VRF_TRACE(trace, 4, "Removing unsupported zoneGroup " << prefix);
    status().zoneGroupDel(prefix);
  }
  for (const std::string &acl : status().zoneAcl().keys()) {
    if (zoneAcls_.contains({*status().zoneAcl(acl), acl})) continue;
    VRF_TRACE(trace, 4, "Removing unsupported zoneAcl " << acl);
    status().zoneAclDel(acl);
  }
}

void StaleStatus::removeCandidateRps() {
  for (const Pax::IpGenAddr &address : status().crp().keys()) {
    const Kiv::Ptr<RpCandidate> crp = status().crp(address);
    const Pax::IntfId &intfId = crp->intfId();
    const bool keeps =
        configSm_.config()->rpCandidateConfig(intfId) && configSm_.sourceIntfSm()->ipAddr(intfId) == address;
    for (const Pax::IpGenPrefix &prefix : crp->prefixSet().keys()) {
      if (!keeps || rpPrefixes_.contains({intfId, prefix})) continue;
      VRF_TRACE(trace, 4, "Removing unsupported prefix " << prefix << " of C-RP " << address);
      crp->prefixSetDel(prefix);
    }
    for (const Pax::IpGenPrefix &prefix : crp->prefixOptions().keys()) {
      if (!keeps || rpPriorities_.contains({intfId, prefix})) continue;
      VRF_TRACE(trace, 4, "Removing unsupported priority of prefix " << prefix << " of C-RP " << address);
      crp->prefixOptionsDel(prefix);
    }
    if (keeps && !crp->prefixSet().empty()) continue;
    VRF_TRACE(trace, 4, "Deleting CRP " << address << " from status");
    status().crpDel(address);
  }
}

void StaleStatus::removePermits() {
  for (const Pax::IpGenPrefix &prefix : status().crpPermit().keys()) {
    if (permits_.contains(prefix)) continue;
    VRF_TRACE(trace, 4, "Deleting CRP Permit Prefix " << prefix << " from status");
    status().crpPermitDel(prefix);
  }
}

}  // namespace Routing::Pim::Bsr
