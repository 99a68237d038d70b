#include "config/RpCandidateElement.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::ConfigSm");
}

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

void RpCandidateElement::prefixDel(const Pax::IpGenPrefix &prefix) {
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

}  // namespace Routing::Pim::Bsr
