#include "config/KivBsrCandidateConfig.h"

#include "config/KivBsrCandidateEntry.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::ConfigSm");

KivBsrCandidateConfig::KivBsrCandidateConfig(ConfigSm &configSm, const Pax::IntfId &intfId,
                                             const Kiv::Ptr<const BsrCandidateConfig> &config)
    : ReactorOf(configSm, config),
      intfId_(intfId),
      kivIntf_(*this, configSm.sourceIntfSm()->sourceIntfIs(intfId)),
      address_(kivIntf_.notifier()->ipAddr()) {
  for (const auto &[prefix, entry] : config->group()) group_[prefix] = std::make_unique<KivGroup>(*this, prefix, entry);
  for (const auto &[acl, entry] : config->acl()) acl_[acl] = std::make_unique<KivAcl>(*this, acl, entry);
}

KivBsrCandidateConfig::~KivBsrCandidateConfig() = default;

void KivBsrCandidateConfig::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  if (initialized_) return;
  VRF_TRACE(trace, 4, "New BSR candidate configured for interface " << intfId_);
  if (address_.isZero()) {
    VRF_TRACE(trace, 4, "Deferred initialization since IP address for interface " << intfId_ << " is not set");
    return;
  }
  initialized_ = true;
  for (KivEntry *entry : entries()) entry->handleInitialize();
}

void KivBsrCandidateConfig::handleDel() {
  VRF_TRACE_ENTRY(trace);
  for (KivEntry *entry : entries()) entry->handleDel();
}

// Ends the entry of what left the configuration; starts one on what came.
template <class Key, class Entry, class EntryConfig>
void KivBsrCandidateConfig::follow(std::map<Key, std::unique_ptr<Entry>> &entries, const Key &key,
                                   const Kiv::Ptr<EntryConfig> &config) {
  if (const auto present = entries.find(key); present != entries.end()) {
    present->second->handleDel();
    entries.erase(present);
  }
  if (config) (entries[key] = std::make_unique<Entry>(*this, key, config))->handleInitialize();
}

void KivBsrCandidateConfig::handleGroup(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY(trace);
  follow(group_, prefix, notifier()->group(prefix));
}

void KivBsrCandidateConfig::handleAcl(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  follow(acl_, acl, notifier()->acl(acl));
}

void KivBsrCandidateConfig::handleIpAddress() {
  VRF_TRACE_ENTRY(trace);
  const Pax::IpGenAddr before = std::exchange(address_, kivIntf_.notifier()->ipAddr());
  if (!initialized_) {
    if (address_.isZero()) return;
    VRF_TRACE(trace, 4, "Interface " << intfId_ << " assigned IP " << address_ << " for the first time.");
    handleInitialized();
  } else if (!address_.isZero()) {
    VRF_TRACE(trace, 4, "Interface " << intfId_ << " assigned IP " << address_);
    doAddressIs();
  } else if (!before.isZero()) {
    VRF_TRACE(trace, 4, "Interface " << intfId_ << " IP unset");
    for (const Pax::IpGenPrefix &zone : zones()) doCandidateDel(zone);
  } else {
    VRF_TRACE(trace, 4, "Interface " << intfId_ << " IP already unset. Nothing to do.");
  }
}

void KivBsrCandidateConfig::handleZoneFree(const Pax::IpGenPrefix &zone) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << zone << " )");
  doSettle(zone);
}

// What was counted meanwhile gets its element; what could not be counted without address follows.
void KivBsrCandidateConfig::doAddressIs() {
  for (const Pax::IpGenPrefix &zone : zones()) {
    if (const Kiv::Ptr<BsrCandidate> candidate = ownCandidate(zone)) {
      candidate->addressIs(address_);
    } else {
      doSettle(zone);
    }
  }
  for (KivEntry *entry : entries()) {
    if (!entry->initialized()) entry->handleInitialize();
  }
}

void KivBsrCandidateConfig::doAclPrefixActivate(const std::string &acl, const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << acl << ", " << prefix << " )");
  VRF_TRACE(trace, 4, "Writing to Status for cbsr in zone " << prefix);
  acl_.at(acl)->doAclPrefixAdd(prefix);
}

void KivBsrCandidateConfig::doAclPrefixDeactivate(const std::string &acl, const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << acl << ", " << prefix << " )");
  acl_.at(acl)->doAclPrefixRemove(prefix);
}

std::vector<KivBsrCandidateConfig::KivEntry *> KivBsrCandidateConfig::entries() const {
  std::vector<KivEntry *> all;
  for (const auto &[prefix, entry] : group_) all.push_back(entry.get());
  for (const auto &[acl, entry] : acl_) all.push_back(entry.get());
  return all;
}

const KivBsrCandidateConfig::KivEntry *KivBsrCandidateConfig::standing(const Pax::IpGenPrefix &zone) const {
  const KivEntry *last = nullptr;
  for (const KivEntry *entry : entries()) {
    if (entry->offers(zone)) last = entry;
  }
  return last;
}

Kiv::Ptr<BsrCandidate> KivBsrCandidateConfig::ownCandidate(const Pax::IpGenPrefix &zone) const {
  const Kiv::Ptr<BsrCandidate> candidate = status().cbsr(zone);
  return candidate && candidate->intfId() == intfId_ ? candidate : nullptr;
}

// The zones that are counted.
std::vector<Pax::IpGenPrefix> KivBsrCandidateConfig::zones() const {
  const auto *refCount = owner_.cbsrPfxRefCount.find(intfId_);
  return refCount ? refCount->counter().keys() : std::vector<Pax::IpGenPrefix>();
}

// The period, which completes a new candidate, comes last.
void KivBsrCandidateConfig::doWrite(const Pax::IpGenPrefix &zone) {
  const auto [priority, hashMaskLen, interval] = standing(zone)->options();
  const Kiv::Ptr<BsrCandidate> candidate = status().cbsrIs(zone);
  candidate->addressIs(address_);
  candidate->intfIdIs(intfId_);
  candidate->priorityIs(priority);
  candidate->hashMaskLenIs(hashMaskLen);
  candidate->bsPeriodIs(interval);
  VRF_TRACE(trace, 4,
            "Created candidate BSR for zone " << zone << " with IP " << address_ << ", Priority=" << priority
                                              << ", HashMaskLen=" << hashMaskLen << ", Interval=" << interval);
}

void KivBsrCandidateConfig::doSourceRemove(const Pax::IpGenPrefix &zone) {
  const auto [isLast, count] = owner_.cbsrPfxRefCount.remove(intfId_, zone);
  VRF_TRACE(trace, 4, "PrefixCounter for prefix " << zone << " is " << count);
  if (count > 0) return doSettle(zone);
  if (isLast) VRF_TRACE(trace, 4, "Deleted refcount object for interface " << intfId_);
  doCandidateDel(zone);
}

void KivBsrCandidateConfig::doCandidateDel(const Pax::IpGenPrefix &zone) {
  if (!ownCandidate(zone)) return;
  status().cbsrDel(zone);
  owner_.handleCbsrDel(zone);
}

// After a source went, or the element of another interface did.
void KivBsrCandidateConfig::doSettle(const Pax::IpGenPrefix &zone) {
  if (address_.isZero()) return;
  const Kiv::Ptr<BsrCandidate> candidate = status().cbsr(zone);
  if (candidate && candidate->intfId() != intfId_) return;
  const KivEntry *source = standing(zone);
  if (!source) return;
  const bool same = candidate && source->options() == CandidacyOptions{candidate->priority(), candidate->hashMaskLen(),
                                                                       candidate->bsPeriod()};
  if (!same) doWrite(zone);
}

}  // namespace Routing::Pim::Bsr
