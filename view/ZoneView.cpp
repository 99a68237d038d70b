#include "view/ZoneView.h"

#include "io/BootstrapMessageSm.h"

namespace Routing::Pim::Bsr {

ZoneView::ZoneView(const VrfView &view, const Pax::IpGenPrefix &zone)
    : zone(zone),
      bsr(view.status->bootstrapRouter(zone)),
      candidate(view.status->cbsr(zone)),
      candidateSm(view.bsrSm && candidate ? view.bsrSm->candidateSm(zone) : nullptr),
      nonCandidateSm(view.bsrSm ? view.bsrSm->nonCandidateSm(zone) : nullptr),
      heard(view.bsmGate ? view.bsmGate->heardBsrs(zone) : nullptr),
      runs_(view.bsrSm != nullptr) {}

Rows ZoneView::state() const {
  if (!runs_) return nullptr;
  if (candidate && candidate->state() != BsrCandidateState::unset) return toJson(candidate->state());
  return toJson(nonCandidateSm ? nonCandidateSm->state() : BsrNonCandidateState::noInfo);
}

double ZoneView::nextBsm() const {
  if (!candidateSm) return 0;
  const BsrCandidateState state = candidate->state();
  return state == BsrCandidateState::eBsr || state == BsrCandidateState::pBsr ? candidateSm->bsTimer().time() : 0;
}

double ZoneView::expires() const {
  if (!bsr) return 0;
  if (!isOwn()) return bsr->expiryTime();
  return candidateSm->lastOriginated() + candidateSm->bsTimer().timeout();
}

const HeardBsr *ZoneView::lastHeard() const { return heard && bsr && !isOwn() ? heard->find(bsr->ipAddr()) : nullptr; }

double ZoneView::lastBsmAt() const {
  if (isOwn()) return candidateSm->lastOriginated();
  const HeardBsr *last = lastHeard();
  return last ? last->time : 0;
}

std::vector<Pax::IpGenPrefix> zonesBehind(const VrfView &view, const Pax::IpGenPrefix &last) {
  std::vector<Pax::IpGenPrefix> zones{Pax::allGroups(view.af)};
  for (const auto &[zone, bsr] : view.status->bootstrapRouter()) zones.push_back(zone);
  for (const auto &[zone, candidate] : view.status->cbsr()) zones.push_back(zone);
  if (view.bsrSm) {
    for (const auto &[zone, machine] : view.bsrSm->nonCandidateSm()) zones.push_back(zone);
  }
  std::erase_if(zones, [&](const Pax::IpGenPrefix &zone) { return zone <= last; });
  std::sort(zones.begin(), zones.end());
  zones.erase(std::unique(zones.begin(), zones.end()), zones.end());
  return zones;
}

}  // namespace Routing::Pim::Bsr
