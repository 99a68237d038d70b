#include "view/Announced.h"

#include <algorithm>

#include "engine/BsmOrigination.h"
#include "engine/BsrCandidateSm.h"
#include "platform/orb/Duration.h"

namespace Routing::Pim::Bsr {

std::optional<Announced> Announced::in(const VrfView &view, const Pax::IpGenPrefix &zone,
                                       const std::vector<Pax::IpGenPrefix> &among) {
  const auto candidate = view.status->cbsr(zone);
  const BsrCandidateSm *machine = view.bsrSm ? view.bsrSm->candidateSm(zone) : nullptr;
  if (!machine || !candidate || !candidate->elected()) return std::nullopt;
  Announced announced;
  for (const auto &bsm : machine->lastBsm().all()) {
    for (const auto &group : bsm->groupData()) {
      if (!std::binary_search(among.begin(), among.end(), group->prefix())) continue;
      for (const auto &rp : group->rpList()) announced.rps_[group->prefix()].emplace(rp.address, group->bidir());
    }
  }
  return announced;
}

bool Announced::lists(const Pax::IpGenPrefix &group, const Pax::IpGenAddr &rp, Mode mode) const {
  const auto found = rps_.find(group);
  return found != rps_.end() && found->second.contains({rp, mode == Mode::bidir});
}

std::string whyNotAnnounced(const VrfView &view, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &group,
                            const Pax::IpGenAddr &address, const Pim::RpCandidate &rp) {
  if (rp.holdTime() == 0) return "it is withdrawn";
  const auto set = rpSetOf(*view.status, zone, group);
  const BsrCandidateSm &machine = *view.bsrSm->candidateSm(zone);
  size_t better = 0;
  for (const auto &[other, its] : set->rp()) {
    if (its->holdTime() == 0) continue;
    if (its->pimMode() == rp.pimMode()) {
      better += std::pair(its->priority(), address) < std::pair(rp.priority(), other) ? 1 : 0;
    } else if (rp.pimMode() == Mode::sparse) {
      return "the prefix has RPs of both modes, and only the bidirectional ones are announced";
    }
  }
  const size_t room = BsmOrigination::mostRps - machine.withdrawals().toList(group).size();
  if (better >= room)
    return std::to_string(better) + " RPs are better, and a prefix has room for " + std::to_string(room);
  return "it came after the last message; the next is due in " + Orb::durationText(machine.bsTimer().time() - view.now);
}

Unannounced unannouncedOf(const RpCandidateStatus &sets) {
  Unannounced result;
  for (const auto &[group, set] : sets.crpSet()) {
    size_t sparse = 0, bidir = 0;
    for (const auto &[address, rp] : set->rp()) {
      if (rp->holdTime() != 0) ++(rp->pimMode() == Mode::bidir ? bidir : sparse);
    }
    if (bidir > 0) result.ofBothModes += sparse;
    const size_t eligible = bidir > 0 ? bidir : sparse;
    result.beyondRoom += eligible - std::min(eligible, BsmOrigination::mostRps);
  }
  return result;
}

}  // namespace Routing::Pim::Bsr
