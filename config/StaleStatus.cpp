// What an earlier run left in status and the configuration no longer supports.
#include "config/ConfigSm.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::ConfigSm");

template <class Entry>
bool isComplete(const Kiv::Ptr<Entry> &entry) {
  return entry && entry->priority() != bsrPriorityUnset && entry->hashMaskLen() != hashMaskLenUnset;
}

}  // namespace

void ConfigSm::doRemoveExtraStatusEntries() {
  VRF_TRACE_ENTRY(trace);
  doRemoveExtraBorders();
  doRemoveExtraCandidateBsrs();
  doRemoveExtraZoneOwners();
  doRemoveExtraCandidateRps();
  doRemoveExtraPermits();
}

bool ConfigSm::permitsGroup(const std::string &acl, const Pax::IpGenPrefix &prefix) const {
  const Kiv::Ptr<BsrConfigAcl> present = bsrConfigAcl(acl);
  return present && present->grpPrefix(prefix);
}

bool ConfigSm::isUsable(const Pax::IntfId &intfId) { return !sourceIntfSm_->sourceIntfIs(intfId)->ipAddr().isZero(); }

void ConfigSm::doRemoveExtraBorders() {
  const auto isBorder = [this](const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix) {
    const Kiv::Ptr<const IntfConfig> *config = vrfIntfConfig_->intfConfig(intfId);
    if (!config) return false;
    if ((*config)->bsrBorderGrp(prefix)) return true;
    for (const auto &[acl, in] : (*config)->bsrBorderAcl()) {
      if (permitsGroup(acl, prefix)) return true;
    }
    return false;
  };
  for (const auto &[prefix, border] : status_->bsBorder()) {
    for (const auto &[intfId, in] : border->intfId()) {
      if (isBorder(intfId, prefix)) continue;
      VRF_TRACE(trace, 4, "Deleted Interface " << intfId << " from prefix " << prefix << " in status");
      border->intfIdDel(intfId);
    }
    if (!border->intfId().empty()) continue;
    VRF_TRACE(trace, 4, "Deleting prefix " << prefix << " from status");
    status_->bsBorderDel(prefix);
  }
}

void ConfigSm::doRemoveExtraCandidateBsrs() {
  const auto isSupported = [this](const Pax::IpGenPrefix &zone) {
    for (const auto &[intfId, config] : config_->bsrCandidateConfig()) {
      if (!isUsable(intfId)) continue;
      if (isComplete(config->group(zone))) return true;
      for (const auto &[acl, entry] : config->acl()) {
        if (isComplete(entry) && permitsGroup(acl, zone)) return true;
      }
    }
    return false;
  };
  for (const Pax::IpGenPrefix &zone : status_->cbsr().keys()) {
    if (isSupported(zone)) continue;
    VRF_TRACE(trace, 4, "Deleting zone " << zone << " from CBSR status");
    const Kiv::Ptr<BsrCandidate> candidate = status_->cbsr(zone);
    const Kiv::Ptr<ElectedBsrStatus> elected = status_->bootstrapRouter(zone);
    if (candidate->elected() && elected && elected->ipAddr() == candidate->address()) {
      VRF_TRACE(trace, 4, "Removing this router as elected BSR of zone " << zone);
      status_->bootstrapRouterDel(zone);
      status_->crpStatusDel(zone);  // what it had collected goes with it
    }
    status_->cbsrDel(zone);
  }
}

void ConfigSm::doRemoveExtraZoneOwners() {
  const auto candidateOf = [this](const Pax::IntfId &intfId) {
    return isUsable(intfId) ? config_->bsrCandidateConfig(intfId) : nullptr;
  };
  for (const Pax::IpGenPrefix &prefix : status_->zoneGroup().keys()) {
    const Kiv::Ptr<BsrCandidateConfig> config = candidateOf(*status_->zoneGroup(prefix));
    if (config && isComplete(config->group(prefix))) continue;
    VRF_TRACE(trace, 4, "Removing unsupported zoneGroup " << prefix);
    status_->zoneGroupDel(prefix);
  }
  for (const std::string &acl : status_->zoneAcl().keys()) {
    const Kiv::Ptr<BsrCandidateConfig> config = candidateOf(*status_->zoneAcl(acl));
    if (config && isComplete(config->acl(acl))) continue;
    VRF_TRACE(trace, 4, "Removing unsupported zoneAcl " << acl);
    status_->zoneAclDel(acl);
  }
}

void ConfigSm::doRemoveExtraCandidateRps() {
  const auto isServed = [this](const RpCandidateConfig &config, const Pax::IpGenPrefix &prefix) {
    if (config.groupRange(prefix)) return true;
    for (const auto &[acl, in] : config.acl()) {
      if (permitsGroup(acl, prefix)) return true;
    }
    return false;
  };
  const auto hasPriority = [this](const RpCandidateConfig &config, const Pax::IpGenPrefix &prefix) {
    const auto isSet = [](const auto &options) { return options && options->priority() != rpPriorityUnset; };
    if (isSet(config.groupRangeOptions(prefix))) return true;
    for (const auto &[acl, in] : config.acl()) {
      if (permitsGroup(acl, prefix) && isSet(config.aclOptions(acl))) return true;
    }
    return false;
  };
  for (const Pax::IpGenAddr &address : status_->crp().keys()) {
    const Kiv::Ptr<RpCandidate> crp = status_->crp(address);
    const Kiv::Ptr<RpCandidateConfig> config = config_->rpCandidateConfig(crp->intfId());
    const bool keeps = config && sourceIntfSm_->sourceIntfIs(crp->intfId())->ipAddr() == address;
    for (const Pax::IpGenPrefix &prefix : crp->prefixSet().keys()) {
      if (!keeps || isServed(*config, prefix)) continue;
      VRF_TRACE(trace, 4, "Removing unsupported prefix " << prefix << " of C-RP " << address);
      crp->prefixSetDel(prefix);
    }
    for (const Pax::IpGenPrefix &prefix : crp->prefixOptions().keys()) {
      if (!keeps || hasPriority(*config, prefix)) continue;
      VRF_TRACE(trace, 4, "Removing unsupported priority of prefix " << prefix << " of C-RP " << address);
      crp->prefixOptionsDel(prefix);
    }
    if (keeps && !crp->prefixSet().empty()) continue;
    VRF_TRACE(trace, 4, "Deleting CRP " << address << " from status");
    status_->crpDel(address);
  }
}

void ConfigSm::doRemoveExtraPermits() {
  const auto isPermitted = [this](const Pax::IpGenPrefix &prefix) {
    for (const auto &[acl, in] : config_->crpFilterAcl()) {
      const Kiv::Ptr<BsrConfigAcl> present = bsrConfigAcl(acl);
      if (present && present->prefix(prefix)) return true;
    }
    return false;
  };
  for (const Pax::IpGenPrefix &prefix : status_->crpPermit().keys()) {
    if (isPermitted(prefix)) continue;
    VRF_TRACE(trace, 4, "Deleting CRP Permit Prefix " << prefix << " from status");
    status_->crpPermitDel(prefix);
  }
}

}  // namespace Routing::Pim::Bsr
