#include "config/KivBsrCandidateEntry.h"

#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::ConfigSm");
}

void KivBsrCandidateConfig::KivEntry::handleInitialize() {
  VRF_TRACE_ENTRY(trace);
  if (initialized_) return;
  if (priority() == bsrPriorityUnset || hashMaskLen() == hashMaskLenUnset) {
    VRF_TRACE(trace, 4, "Skipping initialization since priority or hashmask lengths are not set");
    return;
  }
  if (candidate_.address_.isZero()) {
    VRF_TRACE(trace, 4,
              "Deferred initialization since IP address "
              "for interface "
                  << candidate_.intfId_ << " is not set");
    return;
  }
  initialized_ = true;
  doAdd();
}

bool KivBsrCandidateConfig::KivEntry::hasValuesOf(const BsrCandidate &candidate) const {
  return candidate.priority() == priority() && candidate.hashMaskLen() == hashMaskLen() &&
         candidate.bsPeriod() == interval();
}

template <class Write>
void KivBsrCandidateConfig::KivEntry::changed(const char *what, uint32_t value, Write write) {
  if (!initialized_) return handleInitialize();
  for (const Pax::IpGenPrefix &zone : zones()) {
    const Kiv::Ptr<BsrCandidate> candidate = candidate_.ownCandidate(zone);
    if (!candidate || candidate_.standing(zone) != this) continue;
    write(*candidate);
    VRF_TRACE(trace, 4,
              what << " for Candidate BSR in Zone " << zone << " with IP " << candidate->address() << " changed to "
                   << value);
  }
}

void KivBsrCandidateConfig::KivEntry::handlePriority() {
  VRF_TRACE_ENTRY(trace);
  changed("Priority", priority(), [this](BsrCandidate &candidate) { candidate.priorityIs(priority()); });
}

void KivBsrCandidateConfig::KivEntry::handleHashMaskLen() {
  VRF_TRACE_ENTRY(trace);
  changed("HashMaskLen", hashMaskLen(), [this](BsrCandidate &candidate) { candidate.hashMaskLenIs(hashMaskLen()); });
}

void KivBsrCandidateConfig::KivEntry::handleInterval() {
  VRF_TRACE_ENTRY(trace);
  changed("Interval", interval(), [this](BsrCandidate &candidate) { candidate.bsPeriodIs(interval()); });
}

void KivBsrCandidateConfig::KivGroup::doAdd() {
  if (const Pax::IntfId *owner = status().zoneGroup(prefix_)) {
    const Pax::IntfId intfId = *owner;
    VRF_TRACE(trace, 4, "Interface " << intfId << " already BSR for zone. Asserting...");
    REQUIRE_AS(intfId == kivBsrCandidateConfig()->intfId(), "intfId == kivBsrCandidateConfig()->intfId()");
  } else {
    status().zoneGroupIs(prefix_, candidate_.intfId());
  }
  VRF_TRACE(trace, 4, prefix_ << " forms zone with interface " << candidate_.intfId());
  doGroupAdd(prefix_);
}

void KivBsrCandidateConfig::KivGroup::doGroupAdd(const Pax::IpGenPrefix &prefix) {
  candidate_.doCounterIs(prefix);
  if (!status().cbsr(prefix)) {
    status().cbsrIs(prefix);
    VRF_TRACE(trace, 4, "Created CBSR zone " << prefix);
  }
  candidate_.doWrite(prefix);
  candidate_.doCounterInc(prefix);
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
  if (!candidate_.doCounterDec(prefix) || !candidate_.doCandidateDel(prefix)) return;
  VRF_TRACE(trace, 4, "Deleted candidate BSR for zone " << prefix);
}

void KivBsrCandidateConfig::KivAcl::doAdd() {
  if (const Pax::IntfId *owner = status().zoneAcl(acl_)) {
    const Pax::IntfId intfId = *owner;
    VRF_TRACE(trace, 4, "Interface " << intfId << " already BSR for zone. Asserting...");
    REQUIRE_AS(intfId == kivBsrCandidateConfig()->intfId(), "intfId == kivBsrCandidateConfig()->intfId()");
  } else {
    status().zoneAclIs(acl_, candidate_.intfId());
  }
  VRF_TRACE(trace, 4, "Acl " << acl_ << " forms zone with interface " << candidate_.intfId());
  doAclAdd(acl_);
}

void KivBsrCandidateConfig::KivAcl::doAclAdd(const std::string &acl) {
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = candidate_.configSm_.bsrConfigAclIs(acl);
  bsrConfigAcl->cbsrIntfIs(candidate_.intfId());
  VRF_TRACE(trace, 4, "Added interface " << candidate_.intfId() << " to BsrConfigAcl object for acl " << acl);
  for (const Pax::IpGenPrefix &zone : bsrConfigAcl->grpPrefix().keys()) doAclPrefixAdd(zone);
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
  candidate_.doCounterIs(zone);
  candidate_.doCounterInc(zone);
}

void KivBsrCandidateConfig::KivAcl::handleDel() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_) return candidate_.configSm_.bsrConfigAclRelease(acl_);
  initialized_ = false;
  status().zoneAclDel(acl_);
  VRF_TRACE(trace, 4, "Deleted zoneAcl for acl " << acl_);
  doAclRemove(acl_);
}

void KivBsrCandidateConfig::KivAcl::doAclRemove(const std::string &acl) {
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = candidate_.configSm_.bsrConfigAcl(acl);
  bsrConfigAcl->cbsrIntfDel(candidate_.intfId());
  for (const Pax::IpGenPrefix &zone : bsrConfigAcl->grpPrefix().keys()) doAclPrefixRemove(zone);
  candidate_.configSm_.bsrConfigAclRelease(acl);
}

void KivBsrCandidateConfig::KivAcl::doAclPrefixRemove(const Pax::IpGenPrefix &zone) {
  if (!candidate_.doCounterDec(zone) || !candidate_.doCandidateDel(zone)) return;
  VRF_TRACE(trace, 4, "Deleted candidate BSR for acl " << acl_);
}

bool KivBsrCandidateConfig::KivAcl::hasZone(const Pax::IpGenPrefix &zone) const {
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = candidate_.configSm_.bsrConfigAcl(acl_);
  return bsrConfigAcl && bsrConfigAcl->grpPrefix(zone);
}

std::vector<Pax::IpGenPrefix> KivBsrCandidateConfig::KivAcl::zones() const {
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = candidate_.configSm_.bsrConfigAcl(acl_);
  return bsrConfigAcl ? bsrConfigAcl->grpPrefix().keys() : std::vector<Pax::IpGenPrefix>();
}

}  // namespace Routing::Pim::Bsr
