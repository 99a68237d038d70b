#include "engine/Capacity.h"

#include <algorithm>

#include "engine/BsrNonCandidateSm.h"
#include "engine/PimBsrSm.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Sm");

const std::string &Capacity::vrfName() const { return sm_.vrfName(); }
const Limits &Capacity::limits() const { return sm_.bsrStatus()->limits(); }

void Capacity::rpInc(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) {
  const auto candidate = sm_.bsrStatus()->cbsr(zone);
  const bool isCollected = candidate && candidate->elected() && collectedRanges_[rp].emplace(zone, prefix).second;
  ++(isCollected ? collected_ : learned_);
}

void Capacity::rpDec(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) {
  const auto ranges = collectedRanges_.find(rp);
  const bool isCollected = ranges != collectedRanges_.end() && ranges->second.erase({zone, prefix}) != 0;
  --(isCollected ? collected_ : learned_);
  if (isCollected && ranges->second.empty()) collectedRanges_.erase(ranges);
}

bool Capacity::admitsZone(const Pax::IpGenPrefix &zone) {
  const Pax::IpGenPrefix &global = sm_.globalOrNonScopeZone();
  const size_t scoped = sm_.nonCandidateSm().size() - (sm_.nonCandidateSm(global) ? 1 : 0);
  return scoped < limits().zones || zone == global || sm_.bsrStatus()->bsBorder(zone) || refuse(zones);
}

bool Capacity::admitsSet(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix,
                         const Packet::BootstrapGroupData::RpList &list) {
  const bool hasRps = learned_ < limits().rps;
  const bool hasRanges = ranges_ < limits().ranges || prefix == zone;
  if (hasRps && hasRanges) return true;
  if (std::ranges::any_of(list, [&](const auto &rp) { return isOwn(prefix, rp.address); })) return true;
  return refuse(hasRps ? ranges : rps);
}

bool Capacity::admitsCollected(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp,
                               size_t withdrawn) {
  if (isOwn(prefix, rp)) return true;
  if (collected_ + withdrawn >= limits().collectedRps) return refuse(collectedRps);
  const auto ofRp = collectedRanges_.find(rp);
  const size_t rangesOfRp = ofRp == collectedRanges_.end() ? 0 : ofRp->second.size();
  if (rangesOfRp >= limits().rangesPerRp) return refuse(rangesPerRp);
  const bool hasRanges = ranges_ < limits().ranges || prefix == zone || rpSetOf(*sm_.bsrStatus(), zone, prefix);
  return hasRanges || refuse(ranges);
}

bool Capacity::isOwn(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) const {
  const auto own = sm_.bsrStatus()->crp(rp);
  return own && own->prefixSet(prefix);
}

uint64_t Capacity::keptBytesOfZone() const {
  constexpr uint64_t whole = 64;  // zones that may have all that the limit grants
  return limits().keptBytes * whole / std::max<uint64_t>(whole, sm_.nonCandidateSm().size());
}

bool Capacity::refuse(Limit limit) {
  struct Text {
    const char *what;
    uint32_t Limits::*most;
    uint32_t PimBsrLimitCounters::*refused;
  };
  static constexpr std::array<Text, Limit::count> texts{{
      {"RPs", &Limits::rps, &PimBsrLimitCounters::rps},
      {"zones", &Limits::zones, &PimBsrLimitCounters::zones},
      {"ranges", &Limits::ranges, &PimBsrLimitCounters::ranges},
      {"collected RPs", &Limits::collectedRps, &PimBsrLimitCounters::collectedRps},
      {"ranges of one RP", &Limits::rangesPerRp, &PimBsrLimitCounters::rangesPerRp},
      {"bytes of last messages of a zone", &Limits::keptBytes, &PimBsrLimitCounters::keptBytes},
      {"bytes of incomplete groups", &Limits::openBytes, &PimBsrLimitCounters::openBytes},
  }};
  const Text &text = texts[limit];
  if (const auto &counters = sm_.bsrStatus()->counters()) counters->refusalInc(text.refused);
  if (sm_.now() < quietUntil_[limit]) return false;
  quietUntil_[limit] = sm_.now() + 60;
  VRF_TRACE(trace, 1, "No more " << text.what << " than the limit of " << limits().*text.most << " are held");
  return false;
}

}  // namespace Routing::Pim::Bsr
