#include "config/KivBsrCandidateEntry.h"

#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::ConfigSm");

void KivBsrCandidateConfig::KivEntry::handleInitialize() {
  VRF_TRACE_ENTRY(trace);
  if (initialized_) return;
  if (*options().lack()) {
    VRF_TRACE(trace, 4, "Skipping initialization since priority or hashmask lengths are not set");
    return;
  }
  if (candidate_.address_.isZero()) {
    VRF_TRACE(trace, 4,
              "Deferred initialization since IP address for interface " << candidate_.intfId_ << " is not set");
    return;
  }
  initialized_ = true;
  doAdd();
}

void KivBsrCandidateConfig::KivEntry::requireOwn(const Pax::IntfId &intfId) const {
  VRF_TRACE(trace, 4, "Interface " << intfId << " already BSR for zone. Asserting...");
  REQUIRE_AS(intfId == candidate_.intfId_, "intfId == kivBsrCandidateConfig()->intfId()");
}

template <class Value>
void KivBsrCandidateConfig::KivEntry::changed(const char *what, Value CandidacyOptions::*value,
                                              void (BsrCandidate::*set)(const Value &)) {
  if (!initialized_) return handleInitialize();
  for (const Pax::IpGenPrefix &zone : zones()) {
    const Kiv::Ptr<BsrCandidate> candidate = candidate_.ownCandidate(zone);
    if (!candidate || candidate_.standing(zone) != this) continue;
    ((*candidate).*set)(options().*value);
    VRF_TRACE(trace, 4,
              what << " for Candidate BSR in Zone " << zone << " with IP " << candidate->address() << " changed to "
                   << options().*value);
  }
}

template <class Name>
void KivBsrCandidateConfig::KivEntry::doSourceRemove(const Pax::IpGenPrefix &zone, const char *kind, const Name &name) {
  const bool served = candidate_.ownCandidate(zone) != nullptr;
  candidate_.doSourceRemove(zone);
  if (served && !candidate_.ownCandidate(zone)) VRF_TRACE(trace, 4, "Deleted candidate BSR for " << kind << name);
}

void KivBsrCandidateConfig::KivEntry::handlePriority() {
  VRF_TRACE_ENTRY(trace);
  changed("Priority", &CandidacyOptions::priority, &BsrCandidate::priorityIs);
}

void KivBsrCandidateConfig::KivEntry::handleHashMaskLen() {
  VRF_TRACE_ENTRY(trace);
  changed("HashMaskLen", &CandidacyOptions::hashMaskLen, &BsrCandidate::hashMaskLenIs);
}

void KivBsrCandidateConfig::KivEntry::handleInterval() {
  VRF_TRACE_ENTRY(trace);
  changed("Interval", &CandidacyOptions::interval, &BsrCandidate::bsPeriodIs);
}

void KivBsrCandidateConfig::KivGroup::doAdd() {
  if (const Pax::IntfId *owner = status().zoneGroup(prefix_)) {
    requireOwn(*owner);
  } else {
    status().zoneGroupIs(prefix_, candidate_.intfId_);
  }
  VRF_TRACE(trace, 4, prefix_ << " forms zone with interface " << candidate_.intfId_);
  doGroupAdd(prefix_);
}

void KivBsrCandidateConfig::KivGroup::doGroupAdd(const Pax::IpGenPrefix &prefix) {
  const auto [isFirst, count] = configSm().cbsrPfxRefCount.add(candidate_.intfId_, prefix);
  if (isFirst) VRF_TRACE(trace, 4, "Created refcount object for interface " << candidate_.intfId_);
  if (!status().cbsr(prefix)) {
    status().cbsrIs(prefix);
    VRF_TRACE(trace, 4, "Created CBSR zone " << prefix);
  }
  candidate_.doWrite(prefix);
  VRF_TRACE(trace, 4, "PrefixCounter for prefix " << prefix << " is " << count);
}

void KivBsrCandidateConfig::KivGroup::handleDel() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return;
  initialized_ = false;
  status().zoneGroupDel(prefix_);
  VRF_TRACE(trace, 4, "Deleted zoneGroup " << prefix_);
  doGroupRemove(prefix_);
}

void KivBsrCandidateConfig::KivGroup::doGroupRemove(const Pax::IpGenPrefix &prefix) {
  doSourceRemove(prefix, "zone ", prefix);
}

void KivBsrCandidateConfig::KivAcl::doAdd() {
  if (const Pax::IntfId *owner = status().zoneAcl(acl_)) {
    requireOwn(*owner);
  } else {
    status().zoneAclIs(acl_, candidate_.intfId_);
  }
  VRF_TRACE(trace, 4, "Acl " << acl_ << " forms zone with interface " << candidate_.intfId_);
  doAclAdd(acl_);
}

void KivBsrCandidateConfig::KivAcl::doAclAdd(const std::string &acl) {
  configSm().bsrConfigAclIs(acl)->cbsrIntfIs(candidate_.intfId_);
  VRF_TRACE(trace, 4, "Added interface " << candidate_.intfId_ << " to BsrConfigAcl object for acl " << acl);
  for (const Pax::IpGenPrefix &zone : zones()) doAclPrefixAdd(zone);
}

// While the address is lost a zone is only counted.
void KivBsrCandidateConfig::KivAcl::doAclPrefixAdd(const Pax::IpGenPrefix &zone) {
  if (!candidate_.address_.isZero()) {
    if (!status().cbsr(zone)) {
      status().cbsrIs(zone);
      VRF_TRACE(trace, 4, "Created zone " << zone << " CBSR set");
    }
    candidate_.doWrite(zone);
  }
  const auto [isFirst, count] = configSm().cbsrPfxRefCount.add(candidate_.intfId_, zone);
  if (isFirst) VRF_TRACE(trace, 4, "Created refcount object for interface " << candidate_.intfId_);
  VRF_TRACE(trace, 4, "PrefixCounter for prefix " << zone << " is " << count);
}

void KivBsrCandidateConfig::KivAcl::handleDel() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return configSm().bsrConfigAclRelease(acl_);
  initialized_ = false;
  status().zoneAclDel(acl_);
  VRF_TRACE(trace, 4, "Deleted zoneAcl for acl " << acl_);
  doAclRemove(acl_);
}

void KivBsrCandidateConfig::KivAcl::doAclRemove(const std::string &acl) {
  configSm().bsrConfigAcl(acl)->cbsrIntfDel(candidate_.intfId_);
  for (const Pax::IpGenPrefix &zone : zones()) doAclPrefixRemove(zone);
  configSm().bsrConfigAclRelease(acl);
}

void KivBsrCandidateConfig::KivAcl::doAclPrefixRemove(const Pax::IpGenPrefix &zone) {
  doSourceRemove(zone, "acl ", acl_);
}

}  // namespace Routing::Pim::Bsr
