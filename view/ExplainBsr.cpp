#include "view/Explain.h"
#include "view/Groups.h"
#include "view/Reasons.h"
#include "view/Refusals.h"
#include "view/Rpf.h"
#include "view/ZoneView.h"

namespace Routing::Pim::Bsr {

namespace {

// A candidate that was not heard for longer is not spoken of.
constexpr double lately = 3600;
// Three default intervals: an elected BSR does not speak of what it refused before.
constexpr double unheeded = 180;

// The statements about one zone.
class ZoneExplanation {
 public:
  ZoneExplanation(const VrfView &view, const Pax::IpGenPrefix &zone, Rows &rows)
      : view_(view), zone_(view, zone), statements_(rows, {{"vrf", toJson(view.vrf)}, {"zone", toJson(zone)}}) {}

  // `candidacies` are the rows of our own candidate BSRs.
  void explain(const Rows &candidacies) {
    who();
    if (zone_.isOwn()) {
      ownTiming();
      refusals(std::max(lastAccepted(), view_.now - unheeded));
    } else if (zone_.bsr && view_.bsrSm) {
      timing();
      rpf();
      refusals(lastAccepted());
    } else if (view_.bsrSm) {
      if (isUnknown()) unknown();
      obstacles();
    }
    for (const Rows &row : candidacies) {
      if (row["zone"] == toJson(zone_.zone)) candidacy(row);
    }
    candidates();
    border();
  }

 private:
  void who() {
    const std::string lead = sentence(vrfLead(view_), "Zone ", zone_.zone, ": ");
    const std::string stopped = whyNotRunning(view_);
    Rows members{{"address", nullptr}, {"priority", nullptr}, {"state", zone_.state()}, {"elected", zone_.isOwn()}};
    if (zone_.bsr) {
      members["address"] = toJson(zone_.bsr->ipAddr());
      members["priority"] = toJson(zone_.bsr->priority());
      members["hashMaskLen"] = toJson(zone_.bsr->hashMaskLen());
      members["upTime"] = secondsBetween(zone_.bsr->setupTime(), view_.now);
    }
    statements_.say("bsr", members, lead + (stopped.empty() ? "" : stopped + "; ") + whoInWords() + vrfEnd(view_));
  }
  std::string whoInWords() const {
    if (!zone_.bsr) return takesOver() ? "there is no BSR, and " + takeOver() : "there is no BSR";
    const std::string weight = sentence(zone_.bsr->ipAddr(), " with priority ", zone_.bsr->priority());
    const std::string since = durationBetween(zone_.bsr->setupTime(), view_.now);
    if (zone_.isOwn()) return "this router is the BSR, as " + weight + ", for " + since;
    const std::string is = "the BSR is " + weight + ", for " + since;
    return takesOver() ? is + ", but " + takeOver() : is;
  }
  bool takesOver() const { return !zone_.isOwn() && zone_.nextBsm() != 0; }
  std::string takeOver() const {
    return sentence("this router, ", zone_.candidate->address(), " with priority ", zone_.candidate->priority(),
                    ", takes over in ", durationBetween(view_.now, zone_.nextBsm()),
                    " unless it hears a better candidate");
  }

  void ownTiming() {
    statements_.say("messages",
                    {{"lastBsmAt", secondsBetween(zone_.lastBsmAt(), view_.now)},
                     {"nextBsm", secondsBetween(view_.now, zone_.nextBsm())}},
                    sentence("Its last message went out ", durationBetween(zone_.lastBsmAt(), view_.now),
                             " ago; the next is due in ", durationBetween(view_.now, zone_.nextBsm()), "."));
  }
  void timing() {
    const HeardBsr *last = zone_.lastHeard();
    Rows members{{"lastBsmFrom", nullptr}, {"lastBsmAt", nullptr}};
    std::string text = "It is known from before this agent started, and has not been heard since";
    if (last) {
      members = {{"lastBsmFrom", toJson(last->neighbor)},
                 {"interface", toJson(last->intfId)},
                 {"lastBsmAt", secondsBetween(last->time, view_.now)}};
      text = sentence("Its last message was accepted ", durationBetween(last->time, view_.now), " ago, from ",
                      last->neighbor, " on ", last->intfId);
    }
    members["expires"] = secondsBetween(view_.now, zone_.expires());
    text += zone_.expires() <= view_.now
                ? "; it has been silent for too long and is taken to be lost."
                : "; after " + durationBetween(view_.now, zone_.expires()) + " more of silence it is lost.";
    statements_.say("messages", members, text);
  }

  void rpf() {
    const Pax::IpGenAddr &address = zone_.bsr->ipAddr();
    const RpfInfo rpf = rpfTowards(view_, address);
    if (rpf.neighbor.isZero()) {
      const std::string command = rpfCommand(view_, address);
      statements_.say(
          "rpf", {{"rpfNeighbor", nullptr}, {"command", command}},
          "No message of it could be accepted now, since " + whyNoRpf(view_, address) + "; see '" + command + "'.");
      return;
    }
    const HeardBsr *last = zone_.lastHeard();
    const bool same = last && last->neighbor == rpf.neighbor && last->intfId == rpf.intfId;
    std::string text = sentence("The RPF neighbor toward it is ", rpf.neighbor, " on ", rpf.intfId);
    if (last) text += same ? ", and the last message came from there" : "; the last message came from elsewhere";
    statements_.say("rpf",
                    {{"rpfNeighbor", toJson(rpf.neighbor)},
                     {"interface", toJson(rpf.intfId)},
                     {"lastFromThere", last ? Rows(same) : Rows()}},
                    text + ".");
  }

  void candidacy(const Rows &row) {
    const std::string where = row["interface"].get<std::string>();
    if (!row["active"].get<bool>()) {
      statements_.say("candidacy", row,
                      "The candidate BSR of this router on " + where + " is not in force: " + reasonOf(row) + ".");
    } else if (zone_.candidate && zone_.candidate->state() == BsrCandidateState::cBsr) {
      statements_.say("candidacy", row,
                      sentence("This router is a candidate too, as ", zone_.candidate->address(), " with priority ",
                               zone_.candidate->priority(), ", which weighs less."));
    }
  }

  void candidates() {
    if (!zone_.heard) return;
    for (const HeardBsr &bsr : zone_.heard->all()) {
      if (view_.now - bsr.time > lately || (zone_.bsr && bsr.address == zone_.bsr->ipAddr())) continue;
      statements_.say("candidate",
                      {{"address", toJson(bsr.address)},
                       {"priority", bsr.priority},
                       {"lastBsmFrom", toJson(bsr.neighbor)},
                       {"interface", toJson(bsr.intfId)},
                       {"lastBsmAt", secondsBetween(bsr.time, view_.now)}},
                      sentence(bsr.address, " with priority ", unsigned{bsr.priority}, " was heard ",
                               durationBetween(bsr.time, view_.now), " ago, from ", bsr.neighbor, " on ", bsr.intfId,
                               bsr.priority == 0 ? "; with priority 0 a BSR gives up." : "."));
    }
  }

  void border() {
    const auto border = view_.status->bsBorder(zone_.zone);
    if (!border) return;
    for (const Pax::IntfId &intfId : sortedKeys(border->intfId())) {
      statements_.say("border", {{"interface", toJson(intfId)}},
                      sentence("No message of this zone is sent or accepted on ", intfId, ", a border of it."));
    }
  }

  // What may be the messages of this BSR, or of another one that is refused in its favor.
  void refusals(double accepted) {
    const auto concerns = [this](const Drops::Key &drop) { return !drop.bsr.isZero() && couldBeOfZone(drop); };
    sayRefusals(view_, concerns, accepted, statements_);
  }

  // Of a drop only the interface tells which zones it cannot be of.
  bool couldBeOfZone(const Drops::Key &drop) const {
    if (isOfAdvertisement(drop.reason)) return false;
    return drop.reason != IO::Refusal::border || isBorder(*view_.status, zone_.zone, drop.intfId);
  }

  static constexpr size_t named = 5;  ///< of many

  // `first` are the first ones of `all`.
  static std::string listOf(const std::vector<std::string> &first, size_t all) {
    std::string text;
    for (size_t i = 0; i < std::min(first.size(), named); ++i) text += (i == 0 ? "" : ", ") + first[i];
    return all > named ? text + sentence(" and ", all - named, " more") : text;
  }

  bool isUnknown() const { return !zone_.isKnown() && zone_.zone != Pax::allGroups(view_.af); }
  void unknown() {
    std::vector<std::string> zones;
    for (const Pax::IpGenPrefix &known : zonesBehind(view_, {})) zones.push_back(Kiv::toText(known));
    statements_.say("unknown", {{"zones", zones}},
                    "Nothing of it was ever heard here; the zones known here are " + listOf(zones, zones.size()) + ".");
  }

  // What keeps messages away.
  void obstacles() {
    size_t neighbors = 0;
    for (const Pax::IntfId &intfId : view_.pimInterfaces) {
      const auto pimIntf = view_.pimStatus ? view_.pimStatus->pimIntf(intfId) : nullptr;
      if (pimIntf) neighbors += pimIntf->neighbor().size();
      if (pimIntf) continue;
      const std::string why = whyPimOff(view_, intfId);
      statements_.say("interface", {{"interface", toJson(intfId)}, {"reason", why}},
                      sentence("PIM is off at ", intfId, why.empty() ? "" : ": ", why, "."));
    }
    if (neighbors == 0) {
      statements_.say("neighbors", {{"neighbors", 0}, {"command", "pimbsrctl show interfaces"}},
                      "There is no PIM neighbor that a message could come from; see 'pimbsrctl show interfaces', and "
                      "whether a firewall lets protocol 103 pass.");
    }
    const size_t refused = sayRefusals(
        view_, [this](const Drops::Key &drop) { return couldBeOfZone(drop); }, lastAccepted(), statements_);
    if (neighbors > 0 && refused == 0 && !takesOver()) silence();
    if (zone_.nonCandidateSm && std::isfinite(zone_.nonCandidateSm->forgottenAt())) {
      statements_.say("zone", {{"forgotten", secondsBetween(view_.now, zone_.nonCandidateSm->forgottenAt())}},
                      "The zone is forgotten in " + durationBetween(view_.now, zone_.nonCandidateSm->forgottenAt()) +
                          " unless a message comes.");
    }
  }

  double lastAccepted() const {
    double last = 0;
    if (!zone_.heard) return last;
    for (const HeardBsr &bsr : zone_.heard->all()) last = std::max(last, bsr.time);
    return last;
  }

  // Nothing comes, and nothing is refused: the neighbors may know more.
  void silence() {
    std::vector<std::string> first;
    size_t neighbors = 0;
    for (const Pax::IntfId &intfId : view_.pimInterfaces) {
      const auto pimIntf = isBorder(*view_.status, zone_.zone, intfId) ? nullptr : view_.pimStatus->pimIntf(intfId);
      if (!pimIntf) continue;
      neighbors += pimIntf->neighbor().size();
      if (first.size() >= named) continue;
      for (const Pax::IpGenAddr &address : sortedKeys(pimIntf->neighbor())) {
        if (first.size() < named) first.push_back(sentence(address, " on ", intfId));
      }
    }
    const double last = lastAccepted();
    const std::string command = sentence("pimbsrctl explain bsr ", zone_.zone);
    const std::string came = last == 0 ? "No message of it has come since this agent started"
                                       : "No message of it has come for " + durationBetween(last, view_.now);
    std::string text = isUnknown() ? "" : came + ", and none was refused. ";
    text += "Ask '" + command + "' on the neighbors (" + listOf(first, neighbors) +
            "), and look whether they have a border of it toward this router.";
    if (neighbors == 0) text = came + ", and every PIM neighbor is beyond a border of it.";
    statements_.say("silence",
                    {{"lastBsmAt", secondsBetween(last, view_.now)}, {"neighbors", first}, {"command", command}}, text);
  }

  const VrfView &view_;
  const ZoneView zone_;
  Statements statements_;
};

}  // namespace

bool explainBsr(const VrfView &view, const std::string &zone, ShowCursor &cursor, Rows &rows) {
  if (!zone.empty()) cursor.zone = zoneFrom(zone, view.af);
  ShowCursor behind = cursor;
  Rows candidacies = Rows::array();
  showCandidateBsr(view, behind, candidacies);
  if (!zone.empty()) {
    ZoneExplanation(view, cursor.zone, rows).explain(candidacies);
    return false;
  }
  size_t room = ShowCursor::slice / 5;
  for (const Pax::IpGenPrefix &known : zonesBehind(view, cursor.zone)) {
    if (room-- == 0) return true;
    cursor.zone = known;
    ZoneExplanation(view, known, rows).explain(candidacies);
  }
  return false;
}

}  // namespace Routing::Pim::Bsr
