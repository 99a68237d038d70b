#include "engine/PublishedRpSet.h"
#include "view/Announced.h"
#include "view/Json.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

namespace {

// Shows one zone, from behind the cursor on.
class ZoneRows {
 public:
  ZoneRows(const VrfView &view, ShowCursor &cursor, size_t &room, Rows &rows)
      : view_(view), cursor_(cursor), room_(room), rows_(rows) {}

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
        if (address <= cursor_.rp) continue;
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
      if (group >= cursor_.group && !set->rp().empty()) groups.push_back(group);
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
                     {"mode", toJson(rp.pimMode())},
                     {"priority", toJson(rp.priority())},
                     {"holdTime", toJson(rp.holdTime())},
                     {"hashMaskLen", toJson(rp.hashMaskLen())},
                     {"upTime", secondsBetween(rp.setupTime(), view_.now)},
                     {"expires", secondsBetween(view_.now, rp.expires())}});
  }

  const VrfView &view_;
  ShowCursor &cursor_;
  size_t &room_;
  Rows &rows_;
};

}  // namespace

bool showRpSet(const VrfView &view, ShowCursor &cursor, Rows &rows) {
  size_t room = ShowCursor::slice;
  for (const Pax::IpGenPrefix &zone : sortedKeys(view.status->crpStatus())) {
    if (zone < cursor.zone) continue;
    const auto learned = view.status->crpStatus(zone)->status();
    if (learned && ZoneRows(view, cursor, room, rows).show(zone, *learned)) return true;
  }
  return false;
}

}  // namespace Routing::Pim::Bsr
