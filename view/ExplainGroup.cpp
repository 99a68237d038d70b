#include <utility>

#include "platform/routing/TrieGen.h"
#include "view/Announced.h"
#include "view/Explain.h"
#include "view/Groups.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

using Candidates = std::vector<RpHashSm::Candidate>;

std::string hexadecimal(uint32_t number) { return sentence("0x", std::hex, number); }

// By which rule the first of the candidates wins.
std::string ruleOf(const Candidates &candidates) {
  const RpHashSm::Candidate &best = candidates.front();
  if (candidates.size() == 1) return "it is the only candidate";
  const RpHashSm::Candidate &next = candidates[1];
  if (next.priority != best.priority) return sentence("its priority ", best.priority, " is the lowest, which wins");
  const std::string equals = sentence("of those with the lowest priority, ", best.priority, ", ");
  if (next.hash != best.hash) return equals + "it has the highest hash for this group, " + hexadecimal(best.hash);
  return equals + "and the highest hash, " + hexadecimal(best.hash) + ", it has the highest address";
}

class GroupExplanation {
 public:
  GroupExplanation(const VrfView &view, const Pax::IpGenAddr &group, Rows &rows)
      : view_(view), group_(group), statements_(rows, {{"vrf", toJson(view.vrf)}, {"group", toJson(group)}}) {}

  void explain() {
    bool served = false;
    for (const RpHashSm *rpHashSm : {view_.rpHashSm, view_.bidirRpHashSm}) {
      const auto answer = rpHashSm ? rpHashSm->rpOf(group_) : std::nullopt;
      if (!answer) continue;
      winner(*answer, rpHashSm->mode(), std::exchange(served, true));
    }
    if (!served) nobody();
  }

 private:
  std::string bsrOf(const Pax::IpGenPrefix &zone) const {
    const auto bsr = view_.status->bootstrapRouter(zone);
    return bsr ? sentence("whose BSR is ", bsr->ipAddr()) : "which has no BSR now";
  }

  std::string whyUntold(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) const {
    const auto set = rpSetOf(*view_.status, zone, prefix);
    const auto learned = set ? set->rp(rp) : nullptr;
    return learned ? whyNotAnnounced(view_, zone, prefix, rp, *learned) : "it is withdrawn";
  }

  // `isSecond`: after the one of the other mode.
  void winner(const RpHashSm::Answer &answer, Mode mode, bool isSecond) {
    const Pax::IpGenPrefix zone = publisherOf(view_, answer.prefix);
    const auto bsr = view_.status->bootstrapRouter(zone);
    const RpHashSm::Candidate &best = answer.best();
    const std::string lead = isSecond ? "It also has an RP for the other mode: "
                                      : sentence(vrfLead(view_), "Group ", group_, ": the RP is ");
    const std::string rule = ruleOf(answer.candidates);
    const auto announced = Announced::in(view_, zone, {answer.prefix});
    const bool isTold = !announced || announced->lists(answer.prefix, best.rp, mode);
    const std::string untold = isTold ? "" : whyUntold(zone, answer.prefix, best.rp);
    statements_.say(
        "rp",
        {{"rp", toJson(best.rp)},
         {"mode", toJson(mode)},
         {"rule", rule},
         {"announced", announced ? Rows(isTold) : Rows()},
         {"whyNotAnnounced", isTold ? Rows() : Rows(untold)}},
        sentence(lead, best.rp, " (", mode, "), since ", rule,
                 isTold ? "" : "; it is not announced, so that other routers do not know it: ", untold, "."));
    statements_.say("zone",
                    {{"zone", toJson(zone)},
                     {"bsr", bsr ? toJson(bsr->ipAddr()) : nullptr},
                     {"prefix", toJson(answer.prefix)},
                     {"mode", toJson(mode)}},
                    sentence("The longest prefix with RPs that covers the group is ", answer.prefix, ", of zone ", zone,
                             ", ", bsrOf(zone), "."));
    for (const RpHashSm::Candidate &candidate : answer.candidates) {
      statements_.say("candidate",
                      {{"rp", toJson(candidate.rp)},
                       {"mode", toJson(mode)},
                       {"priority", toJson(candidate.priority)},
                       {"hash", toJson(candidate.hash)}},
                      sentence("Candidate ", candidate.rp, " (", mode, "): priority ", candidate.priority, ", hash ",
                               hexadecimal(candidate.hash), "."));
    }
  }

  void nobody() {
    const std::string lead = sentence(vrfLead(view_), "Group ", group_, ": ");
    const Rows none{{"rp", nullptr}};
    const std::string stopped = whyNotRunning(view_);
    if (!stopped.empty()) return statements_.say("rp", none, lead + "no RP is known, since " + stopped + vrfEnd(view_));
    statements_.say("rp", none, lead + "no RP serves it.");
    const Pax::IpGenPrefix zone = view_.bsrSm->bsrTrie()->longestMatch(Pax::IpGenPrefix::host(group_));
    if (zone.isEmpty()) {
      return statements_.say("zone", {{"zone", nullptr}, {"command", "pimbsrctl explain bsr"}},
                             "No zone that covers it has a BSR; see 'pimbsrctl explain bsr'.");
    }
    statements_.say("zone", {{"zone", toJson(zone)}},
                    sentence("Zone ", zone, ", ", bsrOf(zone),
                             ", decides for it, and no prefix of that zone that has "
                             "an RP covers it."));
    outer(zone);
  }

  // Zones around the one that decides may have RPs, which a group of a scope never falls back to.
  void outer(const Pax::IpGenPrefix &zone) {
    for (const Pax::IpGenPrefix &around : sortedKeys(view_.status->crpStatus())) {
      if (around == zone || !around.covers(zone)) continue;
      for (int length = Pax::addressBits(view_.af); length >= 0; --length) {
        const Pax::IpGenPrefix prefix(group_, static_cast<uint8_t>(length));
        const auto set = rpSetOf(*view_.status, around, prefix);
        if (!set || set->rp().empty()) continue;
        statements_.say("outer", {{"zone", toJson(around)}, {"prefix", toJson(prefix)}},
                        sentence("Zone ", around, " around it has RPs for ", prefix,
                                 ", but they do not serve the groups of a zone inside."));
        break;
      }
    }
  }

  const VrfView &view_;
  const Pax::IpGenAddr group_;
  Statements statements_;
};

}  // namespace

bool explainGroup(const VrfView &view, const std::string &group, ShowCursor &, Rows &rows) {
  GroupExplanation(view, groupFrom(group, view.af), rows).explain();
  return false;
}

}  // namespace Routing::Pim::Bsr
