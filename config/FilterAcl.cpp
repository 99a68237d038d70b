// The sources whose advertisements are accepted: all while no filter ACL is named, else what the
// named ones permit.
#include "config/ConfigSm.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::ConfigSm");
}

void ConfigSm::handleFilterAcl(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  if (config_->crpFilterAcl(acl)) {
    doFilterAclAdd(acl);
    doPermitAll(false);
  } else {
    if (config_->crpFilterAcl().empty()) doPermitAll(true);
    doFilterAclRemove(acl);
  }
}

// "No filter ACL is named" is one source among the others.
void ConfigSm::doPermitAll(bool permitAll) {
  if (permitAll_ == permitAll) return;
  permitAll_ = permitAll;
  if (permitAll) {
    doFilterAclPrefixActivate(zeroPfx_);
  } else {
    doFilterAclPrefixDeactivate(zeroPfx_);
  }
}

void ConfigSm::doFilterAclAdd(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = bsrConfigAclIs(acl);
  for (const Pax::IpGenPrefix &prefix : bsrConfigAcl->prefix().keys()) doFilterAclPrefixActivate(prefix);
  bsrConfigAcl->usedByCrpAdvAclFilterIs(true);
  if (bsrConfigAcl->prefix().empty()) VRF_TRACE(trace, 1, "Filter ACL " << acl << " permits nobody");
}

void ConfigSm::doFilterAclRemove(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  const Kiv::Ptr<BsrConfigAcl> present = bsrConfigAcl(acl);
  if (!present) return;
  for (const Pax::IpGenPrefix &prefix : present->prefix().keys()) doFilterAclPrefixDeactivate(prefix);
  present->usedByCrpAdvAclFilterIs(false);
  bsrConfigAclRelease(acl);
}

void ConfigSm::doFilterAclPrefixActivate(const Pax::IpGenPrefix &prefix) {
  if (crpFilterAclPfxRefCount_.counterIs(prefix, 0)) {
    VRF_TRACE(trace, 4, "Added new prefix " << prefix << " into filter acl prefix counter");
  }
  if (!status_->crpPermit(prefix)) {
    status_->crpPermitIs(prefix, true);
    VRF_TRACE(trace, 4, "Added prefix " << prefix << " to status");
  }
  const uint32_t count = crpFilterAclPfxRefCount_.counterInc(prefix, 1);
  VRF_TRACE(trace, 4, "Filter ACL PrefixCounter for prefix " << prefix << " is " << count);
}

void ConfigSm::doFilterAclPrefixDeactivate(const Pax::IpGenPrefix &prefix) {
  const uint32_t count = crpFilterAclPfxRefCount_.counterDec(prefix, 1);
  VRF_TRACE(trace, 4, "Filter ACL PrefixCounter for prefix " << prefix << " is " << count);
  if (count > 0) return;
  crpFilterAclPfxRefCount_.counterDel(prefix);
  VRF_TRACE(trace, 4, "Deleted refcount for prefix " << prefix);
  status_->crpPermitDel(prefix);
  VRF_TRACE(trace, 4, "Deleted prefix " << prefix << " from status");
}

}  // namespace Routing::Pim::Bsr
