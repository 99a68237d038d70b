#include <stdexcept>

#include "engine/PublishedRpSet.h"
#include "view/Announced.h"
#include "view/Json.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

namespace {

// Which RPs are asked for: one, those of the prefixes within one, or those of the prefixes that cover a group.
class Choice {
 public:
  Choice(const std::string &text, Pax::AddressFamily family) {
    try {
      if (text.empty()) return;
      if (text.find('/') != text.npos) {
        within_ = Pax::IpGenPrefix::fromText(text);
        if (Pax::allGroups(family).covers(within_)) return;
      } else {
        const Pax::IpGenAddr address = Pax::IpGenAddr::fromText(text);
        (address.isMulticast() ? group_ : rp_) = address;
        if (address.af() == family) return;
      }
    } catch (const Kiv::RangeError &) {
    }
    throw std::invalid_argument("'" + text + "' is neither an RP nor a group or range of " +
                                Kiv::toText(Pax::allGroups(family)));
  }

  bool hasSet(const Pax::IpGenPrefix &group, const RpCandidateSet &set) const {
    if (!within_.isEmpty()) return within_.covers(group) && !set.rp().empty();
    if (!group_.isZero()) return group.covers(Pax::IpGenPrefix::host(group_)) && !set.rp().empty();
    return rp_.isZero() ? !set.rp().empty() : bool(set.rp(rp_));
  }
  bool hasRp(const Pax::IpGenAddr &address) const { return rp_.isZero() || address == rp_; }

 private:
  Pax::IpGenPrefix within_;
  Pax::IpGenAddr group_;
  Pax::IpGenAddr rp_;
};

// Shows zones, from behind the cursor on.
class ZoneRows {
 public:
  ZoneRows(const VrfView &view, const Choice &choice, ShowCursor &cursor, Rows &rows)
      : view_(view), choice_(choice), local_(localAddresses(view)), cursor_(cursor), rows_(rows) {}

  // True when the room is used up.
  bool show(const Pax::IpGenPrefix &zone, const RpCandidateStatus &learned) {
    if (zone != cursor_.zone) cursor_ = {zone, {}, {}, {}};
    const auto groups = groupsIn(learned);
    const auto announced = Announced::in(view_, zone, groups);
    for (const Pax::IpGenPrefix &group : groups) {
      if (group != cursor_.group) cursor_ = {zone, group, {}, {}};
      const auto set = learned.crpSet(group);
      const auto published = view_.bsrSm ? view_.bsrSm->published().setOfOwner(zone, group) : nullptr;
      for (const Pax::IpGenAddr &address : sortedKeys(set->rp())) {
        if (address <= cursor_.rp || !choice_.hasRp(address)) continue;
        if (room_ == 0) return true;
        --room_;
        cursor_.rp = address;
        const Pim::RpCandidate &rp = *set->rp(address);
        rowIs(zone, group, address, rp);
        rows_.back()["published"] = published && published->rp(address);
        Rows &told = rows_.back()["announced"];
        if (announced) told = announced->lists(group, address, rp.pimMode());
      }
    }
    return false;
  }

 private:
  // As many as have room, sorted.
  std::vector<Pax::IpGenPrefix> groupsIn(const RpCandidateStatus &learned) const {
    std::vector<Pax::IpGenPrefix> groups;
    for (const auto &[group, set] : learned.crpSet()) {
      if (group >= cursor_.group && choice_.hasSet(group, *set)) groups.push_back(group);
    }
    // The first one may be shown already.
    const auto end = groups.begin() + static_cast<std::ptrdiff_t>(std::min(groups.size(), room_ + 2));
    std::partial_sort(groups.begin(), end, groups.end());
    groups.erase(end, groups.end());
    return groups;
  }
  void rowIs(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &group, const Pax::IpGenAddr &address,
             const Pim::RpCandidate &rp) {
    rows_.push_back({{"vrf", toJson(view_.vrf)},
                     {"zone", toJson(zone)},
                     {"group", toJson(group)},
                     {"rp", toJson(address)},
                     {"local", local_.contains(address)},
                     {"mode", toJson(rp.pimMode())},
                     {"priority", toJson(rp.priority())},
                     {"holdTime", toJson(rp.holdTime())},
                     {"hashMaskLen", toJson(rp.hashMaskLen())},
                     {"upTime", secondsBetween(rp.setupTime(), view_.now)},
                     {"expires", secondsBetween(view_.now, rp.expires())}});
  }

  const VrfView &view_;
  const Choice &choice_;
  const std::set<Pax::IpGenAddr> local_;
  ShowCursor &cursor_;
  size_t room_ = ShowCursor::slice;
  Rows &rows_;
};

}  // namespace

bool showRpSet(const VrfView &view, const std::string &argument, ShowCursor &cursor, Rows &rows) {
  const Choice choice(argument, view.af);
  ZoneRows zoneRows(view, choice, cursor, rows);
  for (const Pax::IpGenPrefix &zone : sortedKeys(view.status->crpStatus())) {
    if (zone < cursor.zone) continue;
    const auto learned = view.status->crpStatus(zone)->status();
    if (learned && zoneRows.show(zone, *learned)) return true;
  }
  return false;
}

}  // namespace Routing::Pim::Bsr
