#include <algorithm>
#include <map>
#include <stdexcept>

#include "engine/BsrCandidateSm.h"
#include "engine/PublishedRpSet.h"
#include "platform/routing/TrieGen.h"
#include "view/Announced.h"
#include "view/Explain.h"
#include "view/Reasons.h"
#include "view/Refusals.h"

namespace Routing::Pim::Bsr {

namespace {

Pax::IpGenAddr addressFrom(const std::string &text, Pax::AddressFamily family) {
  try {
    const Pax::IpGenAddr address = Pax::IpGenAddr::fromText(text);
    if (address.af() == family && !address.isMulticast() && !address.isZero()) return address;
  } catch (const Kiv::RangeError &) {
  }
  throw std::invalid_argument("'" + text + "' is not the address of an RP");
}

std::string bsrOf(const VrfView &view, const Pax::IpGenPrefix &zone) {
  const auto bsr = view.status->bootstrapRouter(zone);
  return bsr ? sentence("of BSR ", bsr->ipAddr()) : "which has no BSR now";
}

// Why the zone's RPs of the prefix are not in use.
std::string whyNotPublished(const VrfView &view, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &group) {
  if (!view.bsrSm) return whyNotRunning(view);
  const Pax::IpGenPrefix decides = view.bsrSm->bsrTrie()->longestMatch(group);
  if (decides != zone && !decides.isEmpty()) {
    return sentence("zone ", decides, ", ", bsrOf(view, decides), ", decides for the prefix");
  }
  return "another zone's RPs of the prefix are still in use";
}

class RpExplanation {
 public:
  RpExplanation(const VrfView &view, const Pax::IpGenAddr &rp, Rows &rows)
      : view_(view), rp_(rp), statements_(rows, {{"vrf", toJson(view.vrf)}, {"rp", toJson(rp)}}) {}

  void head() {
    size_t prefixes = 0, zones = 0;
    for (const auto &[zone, entry] : view_.status->crpStatus()) {
      const size_t before = prefixes;
      if (entry->status()) prefixes += groupsIn(*entry->status(), {}).size();
      zones += prefixes != before ? 1 : 0;
    }
    const bool local = localAddresses(view_).contains(rp_);
    const std::string stopped = whyNotRunning(view_);
    const std::string lead = sentence(vrfLead(view_), "RP ", rp_, ": ", stopped, stopped.empty() ? "" : "; ");
    const std::string what = prefixes == 0 ? "no BSR announces it"
                                           : sentence("it serves ", prefixes, prefixes == 1 ? " prefix" : " prefixes",
                                                      " in ", zones, zones == 1 ? " zone" : " zones");
    statements_.say("rp", {{"local", local}, {"prefixes", prefixes}, {"zones", zones}},
                    lead + what + (local ? "; it is an address of this router" : "") + vrfEnd(view_));
  }

  // From behind the cursor on; true when there may be more.
  bool prefixes(ShowCursor &cursor) {
    size_t room = ShowCursor::slice;
    for (const Pax::IpGenPrefix &zone : sortedKeys(view_.status->crpStatus())) {
      const auto learned = view_.status->crpStatus(zone)->status();
      if (zone < cursor.zone || !learned) continue;
      if (zone != cursor.zone) cursor = {zone, {}, {}, {}};
      auto groups = groupsIn(*learned, cursor.group);
      const bool more = groups.size() > room;
      if (more) groups.resize(room);
      room -= groups.size();
      const auto announced = Announced::in(view_, zone, groups);
      for (const Pax::IpGenPrefix &group : groups) prefix(zone, group, announced);
      if (!groups.empty()) cursor.group = groups.back();
      if (more) return true;
    }
    return false;
  }

  void withdrawn() {
    if (!view_.bsrSm) return;
    for (const Pax::IpGenPrefix &zone : sortedKeys(view_.status->cbsr())) {
      const BsrCandidateSm *machine = view_.bsrSm->candidateSm(zone);
      if (!machine || machine->withdrawals().empty()) continue;
      for (const Pax::IpGenPrefix &group : machine->withdrawals().prefixes()) {
        if (!machine->withdrawals().contains(group, rp_)) continue;
        statements_.say(
            "withdrawn", {{"zone", toJson(zone)}, {"group", toJson(group)}},
            sentence("It is withdrawn from ", group, " in zone ", zone, "; our next messages still tell the others."));
      }
    }
  }

  // What this router does about it: as its candidate, and as a BSR that would collect it.
  void ownPart() {
    Rows candidacies = Rows::array();
    showCandidateRp(view_, candidacies);
    const bool isKnown = known();
    for (const Rows &row : candidacies) {
      if (row["rp"] == toJson(rp_)) candidacy(row);
      if (row["rp"].is_null() && !isKnown) notInForce(row);
    }
    filter();
    const auto isAdvertisement = [this](const Drops::Key &drop) {
      return drop.neighbor == rp_ && isOfAdvertisement(drop.reason);
    };
    sayRefusals(view_, isAdvertisement, lastAccepted(), statements_);
    if (isKnown) return;
    refusedAtLimits();
    whereToLook();
  }

 private:
  // The prefixes behind `last` that it serves, sorted.
  std::vector<Pax::IpGenPrefix> groupsIn(const RpCandidateStatus &learned, const Pax::IpGenPrefix &last) const {
    std::vector<Pax::IpGenPrefix> groups;
    for (const auto &[group, set] : learned.crpSet()) {
      if (group > last && set->rp(rp_)) groups.push_back(group);
    }
    std::sort(groups.begin(), groups.end());
    return groups;
  }
  bool known() const {
    for (const auto &[zone, entry] : view_.status->crpStatus()) {
      if (!entry->status()) continue;
      for (const auto &[group, set] : entry->status()->crpSet()) {
        if (set->rp(rp_)) return true;
      }
    }
    return false;
  }

  void prefix(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &group, const std::optional<Announced> &announced) {
    const auto rp = rpSetOf(*view_.status, zone, group)->rp(rp_);
    const auto bsr = view_.status->bootstrapRouter(zone);
    const auto published = view_.bsrSm ? view_.bsrSm->published().setOfOwner(zone, group) : nullptr;
    const bool inUse = published && published->rp(rp_);
    const std::string unused = inUse ? "" : whyNotPublished(view_, zone, group);
    Rows members{{"zone", toJson(zone)},
                 {"bsr", bsr ? toJson(bsr->ipAddr()) : nullptr},
                 {"group", toJson(group)},
                 {"mode", toJson(rp->pimMode())},
                 {"priority", toJson(rp->priority())},
                 {"expires", secondsBetween(view_.now, rp->expires())},
                 {"published", inUse},
                 {"whyNotPublished", inUse ? Rows() : Rows(unused)}};
    std::string text = sentence(group, " in zone ", zone, ", ", bsrOf(view_, zone), ": ", rp->pimMode(), ", priority ",
                                rp->priority(), ", for ", durationBetween(view_.now, rp->expires()), " more; ",
                                inUse ? "in use" : "not in use, since " + unused);
    if (announced) {
      const bool told = announced->lists(group, rp_, rp->pimMode());
      const std::string untold = told ? "" : whyNotAnnounced(view_, zone, group, rp_, *rp);
      members["announced"] = told;
      members["whyNotAnnounced"] = told ? Rows() : Rows(untold);
      text += told ? "; announced by our last message" : "; not announced, since " + untold;
    }
    statements_.say("prefix", members, text + ".");
  }

  void candidacy(const Rows &row) {
    if (!row["active"].get<bool>()) return notInForce(row);
    const std::string where = "The candidate RP of this router on " + row["interface"].get<std::string>();
    if (row["zones"].empty()) {
      statements_.say("candidacy", row, where + " tells nobody: no zone of its ranges has a BSR.");
    }
    for (const Rows &zone : row["zones"]) {
      const size_t ranges = row["groups"].size(), advertised = zone["groups"].size(), leftOut = zone["leftOut"].size();
      const std::string of = advertised == ranges ? "all of its" : sentence(advertised, " of its ", ranges);
      std::string text = sentence(where, " advertises ", of, " ranges to ",
                                  zone["bsr"].is_null() ? "nobody" : zone["bsr"].get<std::string>(),
                                  ", the BSR of zone ", zone["zone"].get<std::string>());
      if (leftOut > 0) {
        text += sentence("; ", leftOut, leftOut == 1 ? " is" : " are");
        text += " left out, since an advertisement has room for 255 of a priority";
      }
      statements_.say("candidacy", zone, text + ".");
    }
  }
  // Where its interface has no address, the RP that is asked about may be another one.
  void notInForce(const Rows &row) {
    Rows members = row;
    members.erase("vrf");
    members.erase("rp");
    statements_.say("candidacy", members,
                    "The candidate RP of this router on " + row["interface"].get<std::string>() +
                        " is not in force: " + reasonOf(row) + ".");
  }

  void filter() {
    if (!view_.bsrSm) return;
    const Pax::IpGenPrefix host = Pax::IpGenPrefix::host(rp_);
    for (const auto &[permitted, is] : view_.status->crpPermit()) {
      if (permitted.covers(host)) return;
    }
    for (const Pax::IpGenPrefix &zone : sortedKeys(view_.status->cbsr())) {
      if (!view_.status->cbsr(zone)->elected()) continue;
      statements_.say("filter", {{"zone", toJson(zone)}, {"command", "pimbsrctl show filter"}},
                      sentence("This router is the BSR of zone ", zone,
                               ", and crpFilterAcl does not permit the "
                               "advertisements of ",
                               rp_, "; see 'pimbsrctl show filter'."));
    }
  }

  void refusedAtLimits() {
    const auto counters = view_.status->counters();
    if (!counters) return;
    const PimBsrLimitCounters &limits = counters->limitCounters();
    if (limits.rps + limits.ranges + limits.collectedRps + limits.rangesPerRp == 0) return;
    statements_.say("limits", {{"command", "pimbsrctl show counters"}},
                    "RPs were refused because a limit was reached; see 'refused' of 'pimbsrctl show counters'.");
  }

  // When the RP was last advertised, or listed by a BSR.
  double lastAccepted() const {
    double last = 0;
    for (const auto &[zone, entry] : view_.status->crpStatus()) {
      if (!entry->status()) continue;
      for (const auto &[group, set] : entry->status()->crpSet()) {
        if (const auto rp = set->rp(rp_)) last = std::max(last, rp->expires() - rp->holdTime());
      }
    }
    return last;
  }

  void whereToLook() {
    if (!view_.bsrSm) return;
    if (view_.status->bootstrapRouter().empty()) {
      statements_.say("look", {{"command", "pimbsrctl explain bsr"}},
                      "No zone has a BSR, which alone could announce RPs; see 'pimbsrctl explain bsr'.");
      return;
    }
    std::map<Pax::IpGenAddr, std::vector<Pax::IpGenPrefix>> zones;  // by BSR
    for (const auto &[zone, bsr] : view_.status->bootstrapRouter()) zones[bsr->ipAddr()].push_back(zone);
    const std::set<Pax::IpGenAddr> local = localAddresses(view_);
    for (auto &[bsr, its] : zones) {
      if (local.contains(bsr)) continue;
      std::sort(its.begin(), its.end());
      Rows names = Rows::array();
      for (const Pax::IpGenPrefix &zone : its) names.push_back(toJson(zone));
      const std::string more = its.size() > 1 ? sentence(" and ", its.size() - 1, " more") : "";
      statements_.say("look", {{"zones", names}, {"bsr", toJson(bsr)}},
                      sentence("Zone ", its.front(), more, ": 'pimbsrctl explain rp ", rp_, "' on the BSR, ", bsr,
                               ", says whether it was heard there."));
    }
  }

  const VrfView &view_;
  const Pax::IpGenAddr rp_;
  Statements statements_;
};

}  // namespace

bool explainRp(const VrfView &view, const std::string &rp, ShowCursor &cursor, Rows &rows) {
  RpExplanation explanation(view, addressFrom(rp, view.af), rows);
  if (cursor.zone.isEmpty()) explanation.head();
  if (explanation.prefixes(cursor)) return true;
  explanation.withdrawn();
  explanation.ownPart();
  return false;
}

}  // namespace Routing::Pim::Bsr
