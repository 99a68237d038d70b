#include "config/KivRpCandidateConfig.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::ConfigSm");

// The reactor on the priority of a range or of an ACL, its key.
template <class Options, class Key, void (KivRpCandidateConfig::*handle)(const Key &key)>
class KivRpCandidateConfig::KivOptions : public Kiv::ReactorOf<Options, KivRpCandidateConfig> {
 public:
  KivOptions(KivRpCandidateConfig &candidate, const Key &key, const Kiv::Ptr<const Options> &options)
      : Kiv::ReactorOf<Options, KivRpCandidateConfig>(candidate, options), key_(key) {}
  void onPriority() override { handlePriority(); }
  void handlePriority() {
    VRF_TRACE_ENTRY(trace);
    (this->owner_.*handle)(key_);
  }

 private:
  const std::string &vrfName() const { return this->owner_.vrfName(); }
  const Key key_;
};

KivRpCandidateConfig::KivRpCandidateConfig(ConfigSm &configSm, const Pax::IntfId &intfId,
                                           const Kiv::Ptr<const RpCandidateConfig> &config)
    : ReactorOf(configSm, config),
      intfId_(intfId),
      kivIntf_(*this, configSm.sourceIntfSm()->sourceIntfIs(intfId)),
      element_(configSm, config) {
  for (const auto &[prefix, options] : config->groupRangeOptions()) {
    groupRangeOptions_[prefix] = std::make_unique<KivGroupRangeOptions>(*this, prefix, options);
  }
  for (const auto &[acl, options] : config->aclOptions()) {
    aclOptions_[acl] = std::make_unique<KivAclOptions>(*this, acl, options);
  }
}

KivRpCandidateConfig::~KivRpCandidateConfig() = default;

void KivRpCandidateConfig::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  VRF_TRACE(trace, 4, "New RP candidate configured for interface " << intfId_);
  const Pax::IpGenAddr &address = kivIntf_.notifier()->ipAddr();
  if (address.isZero()) {
    VRF_TRACE(trace, 4, "Deferred C-RP initialization since IP address for interface " << intfId_ << " is not set");
  } else if (element_.isTaken(address)) {
    VRF_TRACE(trace, 4, "Deferred C-RP initialization since another interface serves " << address);
  } else {
    element_.addressIs(address);
  }
  doPasses();
}

void KivRpCandidateConfig::handleIpAddress() {
  VRF_TRACE_ENTRY(trace);
  const Pax::IpGenAddr &address = kivIntf_.notifier()->ipAddr();
  if (address.isZero()) {
    VRF_TRACE(trace, 4, "C-RP Interface " << intfId_ << " IP unset");
    doRemove();
  } else if (initialized()) {
    VRF_TRACE(trace, 4, "C-RP Interface " << intfId_ << " assigned IP " << address);
    doRemove();
    handleInitialized();
  } else {
    doStart();
  }
  owner_.doHandOverCrps();
}

// This one serves nothing, or the element would be its own.
void KivRpCandidateConfig::handleAddressTaken(const Pax::IpGenAddr &address) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << address << " )");
  if (element_.address() == address && element_.isTaken(address)) doRemove();
}

void KivRpCandidateConfig::handleAddressFree(const Pax::IpGenAddr &address) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << address << " )");
  if (!initialized() && kivIntf_.notifier()->ipAddr() == address) doStart();
}

// On a first usable address.
void KivRpCandidateConfig::doStart() {
  const Pax::IpGenAddr &address = kivIntf_.notifier()->ipAddr();
  if (element_.isTaken(address)) return;
  VRF_TRACE(trace, 4, "Interface " << intfId_ << " assigned IP " << address << " for the first time.");
  handleInitialized();
}

// Every element present as newly added.
void KivRpCandidateConfig::doPasses() {
  const RpCandidateConfig &config = *notifier();
  for (const Pax::IpGenPrefix &prefix : config.groupRange().keys()) doGroupAdd(prefix);
  for (const auto &[prefix, options] : groupRangeOptions_) options->handlePriority();
  for (const std::string &acl : config.acl().keys()) doAclAdd(acl);
  for (const auto &[acl, options] : aclOptions_) options->handlePriority();
  handleMode();
  handleAdvInterval();
}

void KivRpCandidateConfig::handleDel() {
  VRF_TRACE_ENTRY(trace);
  doRemove();
  for (const std::string &acl : notifier()->acl().keys()) owner_.bsrConfigAclRelease(acl);
}

// Ranges and ACLs first and their options afterwards, so that the goodbye names everything that
// was advertised.
void KivRpCandidateConfig::doRemove() {
  for (const Pax::IpGenPrefix &prefix : notifier()->groupRange().keys()) element_.sourceDel(prefix);
  std::vector<std::string> used;
  for (const std::string &acl : notifier()->acl().keys()) {
    if (!usesAcl(acl)) continue;
    for (const Pax::IpGenPrefix &prefix : owner_.groupsOf(acl)) element_.sourceDel(prefix);
    used.push_back(acl);
  }
  element_.addressIs({});
  for (const std::string &acl : used) doAclDetach(acl);
}

// With the priorities of ranges that were configured before it existed; that of an ACL comes with its prefixes.
void KivRpCandidateConfig::doCrpIs() {
  element_.create();
  for (const auto &[prefix, options] : groupRangeOptions_) options->handlePriority();
}

void KivRpCandidateConfig::handleGroupRange(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY(trace);
  if (notifier()->groupRange(prefix)) {
    doGroupAdd(prefix);
  } else {
    element_.sourceDel(prefix);
  }
  owner_.doHandOverCrps();
}

void KivRpCandidateConfig::doGroupAdd(const Pax::IpGenPrefix &prefix) {
  const auto [isFirst, count] = owner_.crpPfxRefCount.add(intfId_, prefix, initialized() ? 1 : 0);
  if (isFirst) VRF_TRACE(trace, 4, "Created C-RP refcount object for interface " << intfId_);
  if (!initialized()) return;
  if (!crp()) {
    doCrpIs();
    VRF_TRACE(trace, 4, "Created C-RP " << element_.address());
  }
  crp()->prefixSetIs(prefix);
  VRF_TRACE(trace, 4, "Added Prefix " << prefix << " to C-RP " << element_.address());
  VRF_TRACE(trace, 4, "C-RP PrefixCounter for prefix " << prefix << " is " << count);
}

void KivRpCandidateConfig::handleGroupRangeOptions(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY(trace);
  groupRangeOptions_.erase(prefix);
  if (const Kiv::Ptr<RpCandidateGroupEntryOptions> options = notifier()->groupRangeOptions(prefix)) {
    groupRangeOptions_[prefix] = std::make_unique<KivGroupRangeOptions>(*this, prefix, options);
    doGroupOptionsAdd(prefix);
  } else {
    doGroupOptionsRemove(prefix);
  }
  owner_.doHandOverCrps();
}

void KivRpCandidateConfig::doGroupOptionsAdd(const Pax::IpGenPrefix &prefix) {
  element_.settle(prefix);
  const auto options = crp() ? crp()->prefixOptions(prefix) : nullptr;
  if (!options) return;
  VRF_TRACE(trace, 4,
            "Created priority " << options->priority() << " to prefix " << prefix << " to C-RP " << element_.address());
}

void KivRpCandidateConfig::doGroupOptionsRemove(const Pax::IpGenPrefix &prefix) {
  element_.prioritySourceDel(prefix, " because this prefix appears in ACL rules.");
  element_.deleteIfIdle();
}

void KivRpCandidateConfig::handleAcl(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  if (notifier()->acl(acl)) {
    doAclAdd(acl);
  } else {
    doAclRemove(acl);
  }
  owner_.doHandOverCrps();
}

void KivRpCandidateConfig::doAclAdd(const std::string &acl) {
  if (!initialized()) return;
  doAclAttach(acl);
  for (const Pax::IpGenPrefix &prefix : owner_.groupsOf(acl)) doAclPrefixAdd(acl, prefix);
  if (notifier()->aclOptions(acl)) doAclOptionsAdd(acl);
}

void KivRpCandidateConfig::doAclRemove(const std::string &acl) {
  if (!usesAcl(acl)) return owner_.bsrConfigAclRelease(acl);
  for (const Pax::IpGenPrefix &prefix : owner_.groupsOf(acl)) element_.sourceDel(prefix);
  doAclOptionsRemove(acl);
}

void KivRpCandidateConfig::doAclPrefixAdd(const std::string &acl, const Pax::IpGenPrefix &prefix) {
  if (!crp()) {
    doCrpIs();
    VRF_TRACE(trace, 4, "Created C-RP with IP " << element_.address() << " advInterval=" << notifier()->advInterval());
  }
  crp()->prefixSetIs(prefix);
  VRF_TRACE(trace, 4, "Address prefix " << prefix << " as part of Acl" << acl << " to C-RP " << element_.address());
  const auto [isFirst, count] = owner_.crpPfxRefCount.add(intfId_, prefix);
  if (isFirst) VRF_TRACE(trace, 4, "Created C-RP refcount object for interface " << intfId_);
  VRF_TRACE(trace, 4, "C-RP PrefixCounter for prefix " << prefix << " is " << count);
}

void KivRpCandidateConfig::doAclPrefixActivate(const std::string &acl, const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << acl << ", " << prefix << " )");
  if (!initialized()) return;
  VRF_TRACE(trace, 4, "Writing to Status for C-RP with key  " << element_.address());
  doAclPrefixAdd(acl, prefix);
  element_.settle(prefix);
}

void KivRpCandidateConfig::doAclPrefixDeactivate(const std::string &acl, const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << acl << ", " << prefix << " )");
  element_.sourceDel(prefix);
  element_.prioritySourceDel(prefix, " because this prefix appears in other ACL rules or in group range.");
}

void KivRpCandidateConfig::handleAclOptions(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  aclOptions_.erase(acl);
  if (const Kiv::Ptr<RpCandidateAclEntryOptions> options = notifier()->aclOptions(acl)) {
    aclOptions_[acl] = std::make_unique<KivAclOptions>(*this, acl, options);
    doAclOptionsAdd(acl);
  } else if (usesAcl(acl)) {
    doAclOptionsRemove(acl);
  }
  owner_.doHandOverCrps();
}

void KivRpCandidateConfig::doAclOptionsAdd(const std::string &acl) {
  if (!usesAcl(acl)) return;
  for (const Pax::IpGenPrefix &prefix : owner_.groupsOf(acl)) element_.settle(prefix);
}

// The interface leaves the ACL with its priority; while the configuration still names the ACL it
// stays a user, so that rule changes are followed.
void KivRpCandidateConfig::doAclOptionsRemove(const std::string &acl) {
  for (const Pax::IpGenPrefix &prefix : owner_.groupsOf(acl)) {
    element_.prioritySourceDel(prefix, " because this prefix appears in other ACL rules or in group range.");
  }
  element_.deleteIfIdle();
  doAclDetach(acl);
  if (notifier()->acl(acl)) doAclAttach(acl);
}

void KivRpCandidateConfig::doAclAttach(const std::string &acl) {
  owner_.bsrConfigAclIs(acl)->crpIntfIs(intfId_);
  VRF_TRACE(trace, 4, "Added interface " << intfId_ << " to BsrConfigAcl's C-RP object for acl " << acl);
}

void KivRpCandidateConfig::doAclDetach(const std::string &acl) {
  owner_.bsrConfigAcl(acl)->crpIntfDel(intfId_);
  VRF_TRACE(trace, 4, "Deleted interface " << intfId_ << "from BsrConfigAcl object for acl " << acl);
  owner_.bsrConfigAclRelease(acl);
}

bool KivRpCandidateConfig::usesAcl(const std::string &acl) const {
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = owner_.bsrConfigAcl(acl);
  return bsrConfigAcl && bsrConfigAcl->crpIntf(intfId_);
}

void KivRpCandidateConfig::handleMode() {
  VRF_TRACE_ENTRY(trace);
  if (!crp()) return;
  crp()->modeIs(notifier()->mode());
  VRF_TRACE(trace, 4, "Pim mode for Candidate C-RP " << element_.address() << " changed to " << notifier()->mode());
}

void KivRpCandidateConfig::handleAdvInterval() {
  VRF_TRACE_ENTRY(trace);
  if (!crp()) return;
  crp()->intervalIs(notifier()->advInterval());
  VRF_TRACE(trace, 4,
            "Advertisement interface for Candidate C-RP " << element_.address() << " changed to "
                                                          << notifier()->advInterval());
}

}  // namespace Routing::Pim::Bsr
