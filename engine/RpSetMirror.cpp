#include "engine/RpSetMirror.h"

#include "engine/Capacity.h"
#include "engine/RpSetStore.h"
#include "engine/ZoneWatcher.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Sm");

// KivRp

PimBsrSm::KivRp::KivRp(KivCrpSet &crpSet, const Pax::IpGenAddr &address, const Kiv::Ptr<const Pim::RpCandidate> &rp)
    : ReactorOf(crpSet, rp), holdTimer_(crpSet.sm().timerWheel(), *this), address_(address) {
  crpSet.sm().capacity().rpInc(crpSet.source().zone(), crpSet.source().prefix(), address);
  handleInitialized();
  if (rp->expires() > 0) setHoldtimer();
}

PimBsrSm::KivRp::~KivRp() { owner_.sm().capacity().rpDec(owner_.source().zone(), owner_.source().prefix(), address_); }

const std::string &PimBsrSm::KivRp::vrfName() const { return owner_.sm().vrfName(); }

void PimBsrSm::KivRp::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  const PublishedRpSet::Source &source = owner_.source();
  if (ZoneWatcher *watcher = owner_.sm().zoneWatcher()) watcher->rpCame({source.zone(), source.prefix(), address_});
  owner_.source().rpCame(address_, *notifier());
}

void PimBsrSm::KivRp::tellChange() const {
  const PublishedRpSet::Source &source = owner_.source();
  if (ZoneWatcher *watcher = owner_.sm().zoneWatcher()) {
    watcher->rpChanged({source.zone(), source.prefix(), address_}, *notifier());
  }
}

void PimBsrSm::KivRp::tellGone(bool withSet) const {
  const PublishedRpSet::Source &source = owner_.source();
  if (ZoneWatcher *watcher = owner_.sm().zoneWatcher()) {
    watcher->rpWent({source.zone(), source.prefix(), address_}, *notifier(), withSet);
  }
}

void PimBsrSm::KivRp::handlePriority() {
  VRF_TRACE_ENTRY(trace);
  publish("priority", notifier()->priority());
}

void PimBsrSm::KivRp::handleHoldtime() {
  VRF_TRACE_ENTRY(trace);
  publish("hold time", notifier()->holdTime());
}

void PimBsrSm::KivRp::handleHashMaskLen() {
  VRF_TRACE_ENTRY(trace);
  publish("hash mask length", notifier()->hashMaskLen());
}

void PimBsrSm::KivRp::handleMode() {
  VRF_TRACE_ENTRY(trace);
  publish("mode", notifier()->pimMode());
}

void PimBsrSm::KivRp::handleSetuptime() {
  VRF_TRACE_ENTRY(trace);
  if (!owner_.source().rpChanged(address_, *notifier())) return;
  VRF_TRACE(trace, 5, "RP candidate " << address_ << " setup time is " << notifier()->setupTime());
}

template <class Value>
void PimBsrSm::KivRp::publish(const char *field, const Value &value) {
  tellChange();
  if (!owner_.source().rpChanged(address_, *notifier())) return;
  VRF_TRACE(trace, 5,
            "Setting " << field << " to " << value << " for RP " << address_ << " with prefix "
                       << owner_.source().prefix() << " in rpCandidateStatus");
}

void PimBsrSm::KivRp::setHoldtimer() {
  const Pim::RpCandidate &rp = *notifier();
  PublishedRpSet::Source &source = owner_.source();
  holdTimer_.timeMinIs(rp.expires());
  VRF_TRACE(trace, 5,
            " Set holdtimer to expire in " << rp.expires() - owner_.sm().now() << " from now for " << address_
                                           << " in prefix " << source.prefix() << " of zone " << source.zone());
  source.rpRefreshed(address_, rp, twin_);
}

void PimBsrSm::KivRp::handleHoldtimeExpired() {
  VRF_TRACE_ENTRY(trace);
  const PublishedRpSet::Source &source = owner_.source();
  VRF_TRACE(trace, 4,
            "Deleting RP " << address_ << " from prefix " << source.prefix() << " and zone " << source.zone());
  owner_.sm().rpSets().rpDel(source.zone(), source.prefix(), address_);  // ends this reactor
}

void PimBsrSm::KivRp::handleDel() {
  VRF_TRACE_ENTRY(trace);
  tellGone(false);
  owner_.source().rpWent(address_);
}

// KivCrpSet

PimBsrSm::KivCrpSet::KivCrpSet(PimBsrSm &sm, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix,
                               const Kiv::Ptr<const RpCandidateSet> &set)
    : ReactorOf(sm, set), source_(*sm.published_, zone, prefix) {
  sm.capacity().rangeInc(zone, prefix);
  handleInitialized();
  notifierReplay();
}

PimBsrSm::KivCrpSet::~KivCrpSet() { sm().capacity().rangeDec(source_.zone(), source_.prefix()); }

void PimBsrSm::KivCrpSet::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  source_.setCame();
}

void PimBsrSm::KivCrpSet::onRp(const Pax::IpGenAddr &address) {
  const auto gone = rp_.erase(address);
  if (const auto rp = notifier()->rp(address)) {
    rp_.insert(address, std::make_unique<KivRp>(*this, address, rp));
  } else if (gone) {
    gone->handleDel();
  }
}

void PimBsrSm::KivCrpSet::handleDel() {
  VRF_TRACE_ENTRY(trace);
  VRF_TRACE(trace, 5, "Deleted zone " << source_.zone() << " RP set " << source_.prefix());
  if (sm().zoneWatcher()) {
    for (const auto &[address, rp] : rp_) rp->tellGone(true);
  }
  source_.setWent();
}

// KivCrpStatus

PimBsrSm::KivCrpStatus::KivCrpStatus(PimBsrSm &sm, const Pax::IpGenPrefix &zone,
                                     const Kiv::Ptr<const RpCandidateStatus> &status)
    : ReactorOf(sm, status), zone_(zone) {
  notifierReplay();
}

void PimBsrSm::KivCrpStatus::onCrpSet(const Pax::IpGenPrefix &prefix) {
  const auto gone = crpSet_.erase(prefix);
  if (const auto set = notifier()->crpSet(prefix)) {
    crpSet_.insert(prefix, std::make_unique<KivCrpSet>(owner_, zone_, prefix, set));
  } else if (gone) {
    gone->handleDel();
  }
}

void PimBsrSm::KivCrpStatus::handleDel() {
  for (const Pax::IpGenPrefix &prefix : crpSet_.keys()) {
    if (const auto gone = crpSet_.erase(prefix)) gone->handleDel();
  }
}

// KivCrpZoneStatus

PimBsrSm::KivCrpZoneStatus::KivCrpZoneStatus(PimBsrSm &sm, const Pax::IpGenPrefix &zone,
                                             const Kiv::Ptr<const PimBsrRpCandidateStatus> &zoneStatus)
    : ReactorOf(sm, zoneStatus), zone_(zone) {
  notifierReplay();
}

void PimBsrSm::KivCrpZoneStatus::onStatus() {
  handleDel();
  if (const auto &status = notifier()->status()) crpStatus_ = std::make_unique<KivCrpStatus>(owner_, zone_, status);
}

void PimBsrSm::KivCrpZoneStatus::handleDel() {
  if (const auto gone = std::move(crpStatus_)) gone->handleDel();
}

}  // namespace Routing::Pim::Bsr
