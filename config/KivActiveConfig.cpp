#include "config/KivActiveConfig.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::ConfigSm");

void KivActiveConfig::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  notifierReplay();
}

void KivActiveConfig::handleDel() {
  VRF_TRACE_ENTRY(trace);
  for (const Pax::IpGenPrefix &prefix : notifier()->bsrBorderGrp().keys()) doGroupRemove(prefix);
  for (const std::string &acl : notifier()->bsrBorderAcl().keys()) doAclRemove(acl);
}

void KivActiveConfig::handleBsrBorderGrp(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY(trace);
  if (notifier()->bsrBorderGrp(prefix)) {
    doGroupAdd(prefix);
  } else {
    doGroupRemove(prefix);
  }
}

void KivActiveConfig::handleBsrBorderAcl(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  if (notifier()->bsrBorderAcl(acl)) {
    doAclAdd(acl);
  } else {
    doAclRemove(acl);
  }
}

void KivActiveConfig::doGroupAdd(const Pax::IpGenPrefix &prefix, const char *set) {
  const auto [isFirst, count] = owner_.borderPfxRefCount.add(intfId_, prefix);
  if (isFirst) VRF_TRACE(trace, 4, "Created refcount object for interface " << intfId_);
  Status &status = *owner_.status();
  if (!status.bsBorder(prefix)) {
    status.bsBorderIs(prefix);
    VRF_TRACE(trace, 4, "Created group " << prefix << set);
  }
  status.bsBorder(prefix)->intfIdIs(intfId_);
  VRF_TRACE(trace, 4, "Added interface " << intfId_ << " into " << prefix << " BSR border set.");
  VRF_TRACE(trace, 4, "PrefixCounter for prefix " << prefix << " is " << count);
}

void KivActiveConfig::doGroupRemove(const Pax::IpGenPrefix &prefix) {
  const auto [isLast, count] = owner_.borderPfxRefCount.remove(intfId_, prefix);
  VRF_TRACE(trace, 4, "PrefixCounter for prefix " << prefix << " is " << count);
  if (count > 0) return;
  if (isLast) VRF_TRACE(trace, 4, "Deleted refcount object for interface " << intfId_);
  Status &status = *owner_.status();
  const Kiv::Ptr<PimBsrBorder> border = status.bsBorder(prefix);
  if (!border) return;
  border->intfIdDel(intfId_);
  VRF_TRACE(trace, 4, "Deleted interface " << intfId_ << " from " << prefix << " BSR border set.");
  if (!border->intfId().empty()) return;
  status.bsBorderDel(prefix);
  VRF_TRACE(trace, 4, "Deleted group " << prefix << " BSR border set");
}

void KivActiveConfig::doAclAdd(const std::string &acl) {
  owner_.bsrConfigAclIs(acl)->borderIntfIs(intfId_);
  VRF_TRACE(trace, 4, "Added interface " << intfId_ << " to BsrConfigAcl object for acl " << acl);
  for (const Pax::IpGenPrefix &prefix : owner_.groupsOf(acl)) doAclPrefixAdd(prefix);
}

void KivActiveConfig::doAclRemove(const std::string &acl) {
  owner_.bsrConfigAcl(acl)->borderIntfDel(intfId_);
  VRF_TRACE(trace, 4, "Deleted interface " << intfId_ << " from BsrConfigAcl object for acl " << acl);
  for (const Pax::IpGenPrefix &prefix : owner_.groupsOf(acl)) doGroupRemove(prefix);
  owner_.bsrConfigAclRelease(acl);
}

void KivActiveConfig::doAclPrefixActivate(const std::string &acl, const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << acl << ", " << prefix << " )");
  doAclPrefixAdd(prefix);
}

void KivActiveConfig::doAclPrefixDeactivate(const std::string &acl, const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << acl << ", " << prefix << " )");
  doGroupRemove(prefix);
}

}  // namespace Routing::Pim::Bsr
