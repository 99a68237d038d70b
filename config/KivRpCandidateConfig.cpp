#include "config/KivRpCandidateConfig.h"

#include <algorithm>

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::ConfigSm");
}

class KivRpCandidateConfig::KivGroupRangeOptions : public RpCandidateGroupEntryOptions::Notifiee {
 public:
  KivGroupRangeOptions(KivRpCandidateConfig &candidate, const Pax::IpGenPrefix &prefix,
                       const Kiv::Ptr<const RpCandidateGroupEntryOptions> &options)
      : candidate_(candidate), prefix_(prefix) {
    notifierIs(options);
  }
  void onPriority() override { handlePriority(); }
  void handlePriority() {
    VRF_TRACE_ENTRY(trace);
    candidate_.doGroupOptionsAdd(prefix_);
  }

 private:
  const std::string &vrfName() const { return candidate_.vrfName(); }
  KivRpCandidateConfig &candidate_;
  const Pax::IpGenPrefix prefix_;
};

class KivRpCandidateConfig::KivAclOptions : public RpCandidateAclEntryOptions::Notifiee {
 public:
  KivAclOptions(KivRpCandidateConfig &candidate, const std::string &acl,
                const Kiv::Ptr<const RpCandidateAclEntryOptions> &options)
      : candidate_(candidate), acl_(acl) {
    notifierIs(options);
  }
  void onPriority() override { handlePriority(); }
  void handlePriority() {
    VRF_TRACE_ENTRY(trace);
    candidate_.doAclOptionsAdd(acl_);
  }

 private:
  const std::string &vrfName() const { return candidate_.vrfName(); }
  KivRpCandidateConfig &candidate_;
  const std::string acl_;
};

KivRpCandidateConfig::KivRpCandidateConfig(ConfigSm &configSm, const Pax::IntfId &intfId,
                                           const Kiv::Ptr<const RpCandidateConfig> &config)
    : configSm_(configSm), intfId_(intfId), kivIntf_(*this, configSm.sourceIntfSm()->sourceIntfIs(intfId)) {
  notifierIs(config);
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
    VRF_TRACE(trace, 4,
              "Deferred C-RP initialization since IP address "
              "for interface "
                  << intfId_ << " is not set");
  } else if (isTaken(address)) {
    VRF_TRACE(trace, 4, "Deferred C-RP initialization since another interface serves " << address);
  } else {
    address_ = address;
    initialized_ = true;
  }
  doPasses();
}

void KivRpCandidateConfig::handleIpAddress() {
  VRF_TRACE_ENTRY(trace);
  const Pax::IpGenAddr &address = kivIntf_.notifier()->ipAddr();
  if (address.isZero()) {
    VRF_TRACE(trace, 4, "C-RP Interface " << intfId_ << " IP unset");
    doRemove();
  } else if (initialized_) {
    VRF_TRACE(trace, 4, "C-RP Interface " << intfId_ << " assigned IP " << address);
    doRemove();
    handleInitialized();
  } else {
    doStart();
  }
  configSm_.doHandOverCrps();
}

// This one serves nothing, or the element would be its own.
void KivRpCandidateConfig::handleAddressTaken(const Pax::IpGenAddr &address) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << address << " )");
  if (initialized_ && address_ == address && isTaken(address)) doRemove();
}

void KivRpCandidateConfig::handleAddressFree(const Pax::IpGenAddr &address) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << address << " )");
  if (!initialized_ && kivIntf_.notifier()->ipAddr() == address) doStart();
}

// On a first usable address.
void KivRpCandidateConfig::doStart() {
  const Pax::IpGenAddr &address = kivIntf_.notifier()->ipAddr();
  if (isTaken(address)) return;
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
  for (const std::string &acl : notifier()->acl().keys()) configSm_.bsrConfigAclRelease(acl);
}

// Ranges and ACLs first and their options afterwards, so that the goodbye names everything that
// was advertised.
void KivRpCandidateConfig::doRemove() {
  for (const Pax::IpGenPrefix &prefix : notifier()->groupRange().keys()) doGroupRemove(prefix);
  std::vector<std::string> used;
  for (const std::string &acl : notifier()->acl().keys()) {
    if (!usesAcl(acl)) continue;
    for (const Pax::IpGenPrefix &prefix : prefixesOf(acl)) doGroupRemove(prefix);
    used.push_back(acl);
  }
  initialized_ = false;
  address_ = Pax::IpGenAddr();
  for (const std::string &acl : used) doAclDetach(acl);
}

void KivRpCandidateConfig::handleGroupRange(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY(trace);
  if (notifier()->groupRange(prefix)) {
    doGroupAdd(prefix);
  } else {
    doGroupRemove(prefix);
  }
  configSm_.doHandOverCrps();
}

void KivRpCandidateConfig::doGroupAdd(const Pax::IpGenPrefix &prefix) {
  doCounterIs(prefix);
  if (!initialized_) return;
  if (!crp()) {
    doCrpIs();
    VRF_TRACE(trace, 4, "Created C-RP " << address_);
  }
  crp()->prefixSetIs(prefix);
  VRF_TRACE(trace, 4, "Added Prefix " << prefix << " to C-RP " << address_);
  doCounterInc(prefix);
}

// A range that came without address was never counted.
void KivRpCandidateConfig::doGroupRemove(const Pax::IpGenPrefix &prefix) {
  if (configSm_.crpPfxRefCount.counter(intfId_, prefix) > 0) {
    const uint32_t count = configSm_.crpPfxRefCount.counterDec(intfId_, prefix);
    VRF_TRACE(trace, 4, "C-RP PrefixCounter for prefix " << prefix << " is " << count);
    if (count > 0) return;
  }
  if (configSm_.crpPfxRefCount.counterDel(intfId_, prefix)) {
    VRF_TRACE(trace, 4, "Deleted C-RP refcount object for interface " << intfId_);
  }
  const Kiv::Ptr<RpCandidate> own = crp();
  if (!own) return;
  own->prefixSetDel(prefix);
  VRF_TRACE(trace, 4, "Deleted prefix " << prefix << " from prefixSet");
  doCrpDelIfIdle();
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
  configSm_.doHandOverCrps();
}

void KivRpCandidateConfig::doGroupOptionsAdd(const Pax::IpGenPrefix &prefix) {
  if (!crp()) return;
  const RpPriority priority = doPriorityIs(prefix);
  if (priority == rpPriorityUnset) return;
  VRF_TRACE(trace, 4, "Created priority " << priority << " to prefix " << prefix << " to C-RP " << address_);
}

void KivRpCandidateConfig::doGroupOptionsRemove(const Pax::IpGenPrefix &prefix) {
  doPrioritySettle(prefix,
                   " because this prefix "
                   "appears in ACL rules.");
  doCrpDelIfIdle();
}

void KivRpCandidateConfig::handleAcl(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  if (notifier()->acl(acl)) {
    doAclAdd(acl);
  } else {
    doAclRemove(acl);
  }
  configSm_.doHandOverCrps();
}

void KivRpCandidateConfig::doAclAdd(const std::string &acl) {
  if (!initialized_) return;
  doAclRegister(acl);
  for (const Pax::IpGenPrefix &prefix : prefixesOf(acl)) doAclPrefixAdd(acl, prefix);
  if (notifier()->aclOptions(acl)) doAclOptionsAdd(acl);
}

void KivRpCandidateConfig::doAclRegister(const std::string &acl) {
  configSm_.bsrConfigAclIs(acl)->crpIntfIs(intfId_);
  VRF_TRACE(trace, 4, "Added interface " << intfId_ << " to BsrConfigAcl's C-RP object for acl " << acl);
}

void KivRpCandidateConfig::doAclPrefixAdd(const std::string &acl, const Pax::IpGenPrefix &prefix) {
  if (!crp()) {
    doCrpIs();
    VRF_TRACE(trace, 4, "Created C-RP with IP " << address_ << " advInterval=" << notifier()->advInterval());
  }
  crp()->prefixSetIs(prefix);
  VRF_TRACE(trace, 4, "Address prefix " << prefix << " as part of Acl" << acl << " to C-RP " << address_);
  doCounterIs(prefix);
  doCounterInc(prefix);
}

void KivRpCandidateConfig::doAclRemove(const std::string &acl) {
  if (!usesAcl(acl)) return configSm_.bsrConfigAclRelease(acl);
  for (const Pax::IpGenPrefix &prefix : prefixesOf(acl)) doGroupRemove(prefix);
  doAclOptionsRemove(acl);
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
  configSm_.doHandOverCrps();
}

void KivRpCandidateConfig::doAclOptionsAdd(const std::string &acl) {
  if (!usesAcl(acl) || !crp()) return;
  for (const Pax::IpGenPrefix &prefix : prefixesOf(acl)) doPriorityIs(prefix);
}

// The interface leaves the ACL with its priority; while the configuration still names the ACL it
// stays a user, so that rule changes are followed.
void KivRpCandidateConfig::doAclOptionsRemove(const std::string &acl) {
  for (const Pax::IpGenPrefix &prefix : prefixesOf(acl)) {
    doPrioritySettle(prefix,
                     " because this prefix appears in other ACL "
                     "rules or in group range.");
  }
  doCrpDelIfIdle();
  doAclDetach(acl);
  if (notifier()->acl(acl)) doAclRegister(acl);
}

void KivRpCandidateConfig::doAclDetach(const std::string &acl) {
  configSm_.bsrConfigAcl(acl)->crpIntfDel(intfId_);
  VRF_TRACE(trace, 4, "Deleted interface " << intfId_ << "from BsrConfigAcl object for acl " << acl);
  configSm_.bsrConfigAclRelease(acl);
}

void KivRpCandidateConfig::doAclPrefixActivate(const std::string &acl, const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << acl << ", " << prefix << " )");
  if (!initialized_) return;
  VRF_TRACE(trace, 4, "Writing to Status for C-RP with key  " << address_);
  doAclPrefixAdd(acl, prefix);
  if (notifier()->aclOptions(acl)) doPriorityIs(prefix);
}

void KivRpCandidateConfig::doAclPrefixDeactivate(const std::string &acl, const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << acl << ", " << prefix << " )");
  doGroupRemove(prefix);
  doPrioritySettle(prefix,
                   " because this prefix appears in other ACL "
                   "rules or in group range.");
}

void KivRpCandidateConfig::handleMode() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_ || !crp()) return;
  crp()->modeIs(notifier()->mode());
  VRF_TRACE(trace, 4, "Pim mode for Candidate C-RP " << address_ << " changed to " << notifier()->mode());
}

void KivRpCandidateConfig::handleAdvInterval() {
  VRF_TRACE_ENTRY(trace);
  if (!initialized_ || !crp()) return;
  crp()->intervalIs(notifier()->advInterval());
  VRF_TRACE(trace, 4,
            "Advertisement interface for Candidate C-RP " << address_ << " changed to " << notifier()->advInterval());
}

Kiv::Ptr<RpCandidate> KivRpCandidateConfig::crp() const {
  return initialized_ && !isTaken(address_) ? status().crp(address_) : nullptr;
}

bool KivRpCandidateConfig::isTaken(const Pax::IpGenAddr &address) const {
  const Kiv::Ptr<RpCandidate> present = status().crp(address);
  return present && present->intfId() != intfId_;
}

// With what was configured before it existed; the priority of an ACL comes with its prefixes.
void KivRpCandidateConfig::doCrpIs() {
  const Kiv::Ptr<RpCandidate> created = status().crpIs(address_);
  created->intfIdIs(intfId_);
  configSm_.handleCrpAdd(address_);
  created->intervalIs(notifier()->advInterval());
  created->modeIs(notifier()->mode());
  for (const auto &[prefix, options] : groupRangeOptions_) options->handlePriority();
}

void KivRpCandidateConfig::doCrpDelIfIdle() {
  const Kiv::Ptr<RpCandidate> own = crp();
  if (!own || !own->prefixSet().empty()) return;
  const Pax::IpGenAddr address = address_;
  VRF_TRACE(trace, 4, "Deleted candidate RP " << address << " since it doest serve any group");
  status().crpDel(address);
  configSm_.handleCrpDel(address);
}

void KivRpCandidateConfig::doCounterIs(const Pax::IpGenPrefix &prefix) {
  if (configSm_.crpPfxRefCount.counterIs(intfId_, prefix)) {
    VRF_TRACE(trace, 4, "Created C-RP refcount object for interface " << intfId_);
  }
}

void KivRpCandidateConfig::doCounterInc(const Pax::IpGenPrefix &prefix) {
  const uint32_t count = configSm_.crpPfxRefCount.counterInc(intfId_, prefix);
  VRF_TRACE(trace, 4, "C-RP PrefixCounter for prefix " << prefix << " is " << count);
}

// Brings the prefix to the priority that stands, or to none, and returns it.
RpPriority KivRpCandidateConfig::doPriorityIs(const Pax::IpGenPrefix &prefix) {
  const RpPriority priority = priorityOf(prefix);
  if (priority != rpPriorityUnset) {
    crp()->prefixOptionsIs(prefix)->priorityIs(priority);
  } else if (crp()->prefixOptions(prefix)) {
    crp()->prefixOptionsDel(prefix);
    VRF_TRACE(trace, 4, "Deleted priority of prefix " << prefix << " from prefixOptions");
  }
  return priority;
}

// After a source of the prefix's priority went: another one's stands from now on, or none.
void KivRpCandidateConfig::doPrioritySettle(const Pax::IpGenPrefix &prefix, const char *because) {
  if (!crp() || !crp()->prefixOptions(prefix)) return;
  const RpPriority priority = doPriorityIs(prefix);
  if (priority == rpPriorityUnset) return;
  VRF_TRACE(trace, 4,
            "Created prefix " << prefix << " with priority " << priority << " to C-RP " << address_ << because);
}

// An entry whose priority is not set yet has none.
RpPriority KivRpCandidateConfig::priorityOf(const Pax::IpGenPrefix &prefix) const {
  RpPriority last = rpPriorityUnset;
  const auto add = [&](const auto &options) {
    if (options && options->priority() != rpPriorityUnset) last = options->priority();
  };
  add(notifier()->groupRangeOptions(prefix));
  std::vector<std::string> acls = notifier()->acl().keys();
  std::sort(acls.begin(), acls.end());
  for (const std::string &acl : acls) {
    const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = configSm_.bsrConfigAcl(acl);
    if (bsrConfigAcl && bsrConfigAcl->grpPrefix(prefix)) add(notifier()->aclOptions(acl));
  }
  return last;
}

std::vector<Pax::IpGenPrefix> KivRpCandidateConfig::prefixesOf(const std::string &acl) const {
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = configSm_.bsrConfigAcl(acl);
  return bsrConfigAcl ? bsrConfigAcl->grpPrefix().keys() : std::vector<Pax::IpGenPrefix>();
}

bool KivRpCandidateConfig::usesAcl(const std::string &acl) const {
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = configSm_.bsrConfigAcl(acl);
  return bsrConfigAcl && bsrConfigAcl->crpIntf(intfId_);
}

}  // namespace Routing::Pim::Bsr
