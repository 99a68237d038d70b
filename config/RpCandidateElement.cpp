#include "config/RpCandidateElement.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::ConfigSm");

bool RpCandidateElement::isTaken(const Pax::IpGenAddr &address) const {
  const Kiv::Ptr<RpCandidate> present = status().crp(address);
  return present && present->intfId() != config_->intfId();
}

Kiv::Ptr<RpCandidate> RpCandidateElement::crp() const {
  return !address_.isZero() && !isTaken(address_) ? status().crp(address_) : nullptr;
}

void RpCandidateElement::create() {
  const Kiv::Ptr<RpCandidate> created = status().crpIs(address_);
  created->intfIdIs(config_->intfId());
  configSm_.handleCrpAdd(address_);
  created->intervalIs(config_->advInterval());
  created->modeIs(config_->mode());
}

// A range that came without address was never counted.
void RpCandidateElement::sourceDel(const Pax::IpGenPrefix &prefix) {
  const Pax::IntfId &intfId = config_->intfId();
  const bool wasCounted = configSm_.crpPfxRefCount.counter(intfId, prefix) > 0;
  const auto [isLast, count] = configSm_.crpPfxRefCount.remove(intfId, prefix);
  if (wasCounted) VRF_TRACE(trace, 4, "C-RP PrefixCounter for prefix " << prefix << " is " << count);
  if (count > 0) return;
  if (isLast) VRF_TRACE(trace, 4, "Deleted C-RP refcount object for interface " << intfId);
  const Kiv::Ptr<RpCandidate> own = crp();
  if (!own) return;
  own->prefixSetDel(prefix);
  VRF_TRACE(trace, 4, "Deleted prefix " << prefix << " from prefixSet");
  deleteIfIdle();
}

void RpCandidateElement::deleteIfIdle() {
  const Kiv::Ptr<RpCandidate> own = crp();
  if (!own || !own->prefixSet().empty()) return;
  const Pax::IpGenAddr address = address_;
  VRF_TRACE(trace, 4, "Deleted candidate RP " << address << " since it doest serve any group");
  status().crpDel(address);
  configSm_.handleCrpDel(address);
}

void RpCandidateElement::settle(const Pax::IpGenPrefix &prefix) {
  const Kiv::Ptr<RpCandidate> own = crp();
  if (!own) return;
  const Offers offers =
      offersOf(*config_, prefix, [&](const std::string &acl) { return configSm_.permitsGroup(acl, prefix); });
  if (const Offer *offer = standing(offers)) {
    own->prefixOptionsIs(prefix)->priorityIs(offer->source.options.priority);
  } else if (own->prefixOptions(prefix)) {
    own->prefixOptionsDel(prefix);
    VRF_TRACE(trace, 4, "Deleted priority of prefix " << prefix << " from prefixOptions");
  }
}

void RpCandidateElement::prioritySourceDel(const Pax::IpGenPrefix &prefix, const char *because) {
  settle(prefix);
  const auto options = crp() ? crp()->prefixOptions(prefix) : nullptr;
  if (!options) return;
  VRF_TRACE(
      trace, 4,
      "Created prefix " << prefix << " with priority " << options->priority() << " to C-RP " << address_ << because);
}

}  // namespace Routing::Pim::Bsr
