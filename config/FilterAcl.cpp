#include "config/FilterAcl.h"

#include "config/ConfigSm.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::ConfigSm");

Status &FilterAcl::status() const { return *configSm_.status(); }
const std::string &FilterAcl::vrfName() const { return configSm_.vrfName(); }

void FilterAcl::handleInitialized() {
  const auto &acls = configSm_.config()->crpFilterAcl();
  if (acls.empty()) doPermitAll(true);
  for (const std::string &acl : acls.keys()) doFilterAclAdd(acl);
}

void FilterAcl::handleFilterAcl(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  const Config &config = *configSm_.config();
  if (config.crpFilterAcl(acl)) {
    doFilterAclAdd(acl);
    doPermitAll(false);
  } else {
    if (config.crpFilterAcl().empty()) doPermitAll(true);
    doFilterAclRemove(acl);
  }
}

void FilterAcl::doPermitAll(bool permitAll) {
  if (permitAll_ == permitAll) return;
  permitAll_ = permitAll;
  if (permitAll) {
    doFilterAclPrefixActivate(configSm_.zeroPfx());
  } else {
    doFilterAclPrefixDeactivate(configSm_.zeroPfx());
  }
}

void FilterAcl::doFilterAclAdd(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = configSm_.bsrConfigAclIs(acl);
  for (const Pax::IpGenPrefix &prefix : bsrConfigAcl->prefix().keys()) doFilterAclPrefixActivate(prefix);
  bsrConfigAcl->usedByCrpAdvAclFilterIs(true);
  if (bsrConfigAcl->prefix().empty()) VRF_TRACE(trace, 1, "Filter ACL " << acl << " permits no source");
}

void FilterAcl::doFilterAclRemove(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = configSm_.bsrConfigAcl(acl);
  for (const Pax::IpGenPrefix &prefix : bsrConfigAcl->prefix().keys()) doFilterAclPrefixDeactivate(prefix);
  bsrConfigAcl->usedByCrpAdvAclFilterIs(false);
  configSm_.bsrConfigAclRelease(acl);
}

void FilterAcl::doFilterAclPrefixActivate(const Pax::IpGenPrefix &prefix) {
  const auto [isFirst, count] = crpFilterAclPfxRefCount_.add(prefix);
  if (isFirst) VRF_TRACE(trace, 4, "Added new prefix " << prefix << " into filter acl prefix counter");
  if (!status().crpPermit(prefix)) {
    status().crpPermitIs(prefix, true);
    VRF_TRACE(trace, 4, "Added prefix " << prefix << " to status");
  }
  VRF_TRACE(trace, 4, "Filter ACL PrefixCounter for prefix " << prefix << " is " << count);
}

void FilterAcl::doFilterAclPrefixDeactivate(const Pax::IpGenPrefix &prefix) {
  const auto [isLast, count] = crpFilterAclPfxRefCount_.remove(prefix);
  VRF_TRACE(trace, 4, "Filter ACL PrefixCounter for prefix " << prefix << " is " << count);
  if (!isLast) return;
  VRF_TRACE(trace, 4, "Deleted refcount for prefix " << prefix);
  status().crpPermitDel(prefix);
  VRF_TRACE(trace, 4, "Deleted prefix " << prefix << " from status");
}

}  // namespace Routing::Pim::Bsr
