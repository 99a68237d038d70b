#include "config/KivAcl.h"

#include "config/KivActiveConfig.h"
#include "config/KivBsrCandidateConfig.h"
#include "config/KivRpCandidateConfig.h"
#include "config/PermittedPrefixes.h"
#include "model/VrfTrace.h"
#include "platform/acl/AclToPrefix.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::ConfigSm");
}

ConfigSm::KivAcl::KivAcl(ConfigSm &configSm, const Kiv::Ptr<const Acl::AclConfig> &acl)
    : configSm_(configSm), kivSubConfig_(*this) {
  notifierIs(acl);
  kivSubConfig_.notifierIs(acl->currCfg());
}

void ConfigSm::KivAcl::handleCfg() {
  VRF_TRACE_ENTRY(trace);
  kivSubConfig_.notifierIs(notifier()->currCfg());
  handleRule();
}

void ConfigSm::KivAcl::handleRule() {
  VRF_TRACE_ENTRY(trace);
  const std::string &acl = notifier()->name();
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = configSm_.bsrConfigAcl(acl);
  if (!bsrConfigAcl) return;
  VRF_TRACE(trace, 4, "Acl name found in BSR config " << acl);
  if (!configSm_.ipAclConfig_->acl(acl)) return;
  VRF_TRACE(trace, 4, "Acl name found in ACL config");
  configSm_.doResolve(*bsrConfigAcl);
  configSm_.doHandOverCrps();
}

void ConfigSm::handleAcl(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  acl_.erase(acl);
  if (const Kiv::Ptr<Acl::AclConfig> config = ipAclConfig_->acl(acl)) {
    (acl_[acl] = std::make_unique<KivAcl>(*this, config))->handleRule();
  } else if (const Kiv::Ptr<BsrConfigAcl> named = bsrConfigAcl(acl)) {
    doResolve(*named);
    doHandOverCrps();
    if (named->usedByCrpAdvAclFilter()) VRF_TRACE(trace, 1, "Filter ACL " << acl << " is gone and permits nobody");
  }
}

// The difference in the permitted prefixes, those that come first.
void ConfigSm::doResolve(BsrConfigAcl &bsrConfigAcl) {
  const std::string &acl = bsrConfigAcl.name();
  PermittedPrefixes permitted;
  if (const Kiv::Ptr<Acl::AclConfig> config = ipAclConfig_->acl(acl)) {
    permitted = sortPermitted(AclPrefix::permittedPrefixes(*config, status_->af()), status_->af());
  }
  const auto &[groups, unicast] = permitted;
  for (const Pax::IpGenPrefix &prefix : groups) {
    if (bsrConfigAcl.grpPrefix(prefix)) continue;
    VRF_TRACE(trace, 4, "Permit Rule Added to ACL " << acl << ": Adding " << prefix << " to bsrConfigAcl");
    bsrConfigAcl.grpPrefixIs(prefix);
  }
  for (const Pax::IpGenPrefix &prefix : unicast) {
    if (bsrConfigAcl.prefix(prefix)) continue;
    VRF_TRACE(trace, 4, "Adding prefix " << prefix << " to bsrConfigAcl unicast set");
    bsrConfigAcl.prefixIs(prefix);
  }
  std::vector<Pax::IpGenPrefix> groupsGone, unicastGone;
  for (const auto &[prefix, in] : bsrConfigAcl.grpPrefix()) {
    if (groups.contains(prefix)) continue;
    VRF_TRACE(trace, 4, "Adding group " << prefix << " to group list to be deleted.");
    groupsGone.push_back(prefix);
  }
  for (const auto &[prefix, in] : bsrConfigAcl.prefix()) {
    if (unicast.contains(prefix)) continue;
    VRF_TRACE(trace, 4, "Adding prefix " << prefix << " to prefix list to be deleted.");
    unicastGone.push_back(prefix);
  }
  for (const Pax::IpGenPrefix &prefix : groupsGone) {
    VRF_TRACE(trace, 4, "Deleting group " << prefix << " from acl " << acl);
    bsrConfigAcl.grpPrefixDel(prefix);
  }
  for (const Pax::IpGenPrefix &prefix : unicastGone) bsrConfigAcl.prefixDel(prefix);
}

Kiv::Ptr<BsrConfigAcl> ConfigSm::bsrConfigAcl(const std::string &acl) const {
  const auto found = bsrConfigAcl_.find(acl);
  return found == bsrConfigAcl_.end() ? nullptr : found->second;
}

Kiv::Ptr<BsrConfigAcl> ConfigSm::bsrConfigAclIs(const std::string &acl) {
  if (Kiv::Ptr<BsrConfigAcl> present = bsrConfigAcl(acl)) return present;
  const Kiv::Ptr<BsrConfigAcl> created = doCreateBsrConfigAcl(acl);
  VRF_TRACE(trace, 4, "Created BsrConfigAcl object for acl " << acl);
  return created;
}

Kiv::Ptr<BsrConfigAcl> ConfigSm::doCreateBsrConfigAcl(const std::string &acl) {
  const auto created = Kiv::make<BsrConfigAcl>(acl);
  bsrConfigAcl_[acl] = created;
  bsrConfigAclSm_[acl] = std::make_unique<KivBsrConfigAclSm>(*this, created);
  doResolve(*created);
  return created;
}

void ConfigSm::bsrConfigAclRelease(const std::string &acl) {
  const Kiv::Ptr<BsrConfigAcl> present = bsrConfigAcl(acl);
  if (!present || present->isUsed()) return;
  bsrConfigAclSm_.erase(acl);
  bsrConfigAcl_.erase(acl);
  VRF_TRACE(trace, 4, "Deleted BsrConfigAcl object for acl " << acl);
}

void ConfigSm::doBuildBsrConfigAcl() {
  VRF_TRACE_ENTRY(trace);
  std::vector<std::string> named;
  const auto add = [&](const auto &acls) {
    for (const std::string &acl : acls.keys()) named.push_back(acl);
  };
  for (const auto &[intfId, config] : vrfIntfConfig_->intfConfig()) add(config->bsrBorderAcl());
  for (const auto &[intfId, config] : config_->bsrCandidateConfig()) add(config->acl());
  for (const auto &[intfId, config] : config_->rpCandidateConfig()) add(config->acl());
  add(config_->crpFilterAcl());
  for (const std::string &acl : named) {
    if (bsrConfigAcl(acl)) continue;
    doCreateBsrConfigAcl(acl);
    VRF_TRACE(trace, 4, "Created bsrConfigAcl object for acl " << acl);
  }
}

void KivBsrConfigAclSm::handlePrefix(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY(trace);
  const Kiv::Ptr<const BsrConfigAcl> acl(notifier());
  const bool permitted = acl->grpPrefix(prefix);
  VRF_TRACE(trace, 4,
            (permitted ? "Group added to BsrConfigAcl Map " : "Group deleted from the BsrConfigAcl Map ") << prefix);
  const auto tell = [&](auto *user) {
    if (!user) return;
    if (permitted) {
      user->doAclPrefixActivate(acl->name(), prefix);
    } else {
      user->doAclPrefixDeactivate(acl->name(), prefix);
    }
  };
  for (const Pax::IntfId &intfId : acl->borderIntf().keys()) tell(configSm_.activeConfig(intfId));
  for (const Pax::IntfId &intfId : acl->cbsrIntf().keys()) tell(configSm_.bsrCandidateConfig(intfId));
  for (const Pax::IntfId &intfId : acl->crpIntf().keys()) tell(configSm_.rpCandidateConfig(intfId));
}

void KivBsrConfigAclSm::handleUniPrefix(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY(trace);
  const bool permitted = notifier()->prefix(prefix);
  VRF_TRACE(
      trace, 4,
      (permitted ? "Unicast prefix added to BsrConfigAcl Map " : "Unicast prefix deleted from the BsrConfigAcl Map ")
          << prefix);
  if (!notifier()->usedByCrpAdvAclFilter()) return;
  if (permitted) {
    configSm_.doFilterAclPrefixActivate(prefix);
  } else {
    configSm_.doFilterAclPrefixDeactivate(prefix);
  }
}

}  // namespace Routing::Pim::Bsr
