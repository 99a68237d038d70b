#include "view/Summary.h"

#include <algorithm>

#include "view/Announced.h"
#include "view/Drops.h"
#include "view/Reasons.h"
#include "view/Rpf.h"
#include "view/Sentence.h"
#include "view/ZoneView.h"

namespace Routing::Pim::Bsr {

namespace {

constexpr const char *ok = "ok", *warning = "warning", *problem = "problem";

std::string counted(size_t number, const char *what) { return sentence(number, " ", what, number == 1 ? "" : "s"); }

const char *areNot(size_t number) { return number == 1 ? " is not " : " are not "; }

// Of errors, a line each.
std::string firstOf(const std::string &errors) {
  const auto more = std::count(errors.begin(), errors.end(), '\n');
  const std::string first = errors.substr(0, errors.find('\n'));
  return more == 0 ? first : sentence(first, " and ", more, " more; see 'pimbsrctl check'");
}

// Collects what is wrong in a VRF, of each kind the first few.
class Findings {
 public:
  Findings(const VrfView &view, Rows &rows) : view_(view), rows_(rows) {}

  void find() {
    interfaces();
    zones();
    ShowCursor cursor;
    for (bool more = true; more;) {
      Rows rows = Rows::array();
      more = showCandidateBsr(view_, cursor, rows);
      candidacies("candidate-bsr", "candidate BSR", rows);
    }
    candidateRps();
    candidacies("border", "border", rowsOf(showBorder));
    candidacies("filter", "filter", rowsOf(showFilter));
    refusals();
    limits();
  }

  size_t found() const { return found_; }
  size_t neighbors() const { return neighbors_; }
  size_t electedZones() const { return electedZones_; }

 private:
  static constexpr size_t mostOfAKind = 5;
  static constexpr double lately = 180;  ///< three default intervals

  void add(const char *subject, const char *state, const std::string &text) {
    ++found_;
    const size_t ofKind = ++ofKind_[subject];
    if (ofKind > mostOfAKind + 1) return;
    const std::string more = sentence("and more; see 'pimbsrctl show ", subject, "'");
    rows_.push_back({{"vrf", toJson(view_.vrf)},
                     {"subject", subject},
                     {"state", state},
                     {"text", ofKind > mostOfAKind ? more : text}});
  }

  void interfaces() {
    size_t on = 0;
    for (const Pax::IntfId &intfId : view_.pimInterfaces) {
      const auto pimIntf = view_.pimStatus ? view_.pimStatus->pimIntf(intfId) : nullptr;
      if (pimIntf) {
        ++on;
        neighbors_ += pimIntf->neighbor().size();
      } else {
        add("interfaces", problem, sentence("PIM is off at ", intfId, ": ", whyPimOff(view_, intfId)));
      }
    }
    if (on > 0 && neighbors_ == 0) add("neighbors", warning, "there is no PIM neighbor");
  }

  void zones() {
    std::set<Pax::IpGenAddr> checked;  // most zones share their BSR
    for (const Pax::IpGenPrefix &prefix : zonesBehind(view_, {})) {
      const ZoneView zone(view_, prefix);
      if (!zone.bsr) {
        add("bsr", problem, sentence("zone ", prefix, " has no BSR; see 'pimbsrctl explain bsr ", prefix, "'"));
        continue;
      }
      ++electedZones_;
      const auto sets = rpSetsOf(*view_.status, prefix);
      if (!sets || !hasRp(*sets)) {
        add("rp-set", warning, sentence("zone ", prefix, " has BSR ", zone.bsr->ipAddr(), " and no RP"));
      }
      if (zone.isOwn() && sets) announcements(prefix, *sets);
      if (zone.isOwn()) continue;
      if (zone.expires() <= view_.now) {
        add("bsr", problem,
            sentence("BSR ", zone.bsr->ipAddr(), " of zone ", prefix, " is silent; see 'pimbsrctl explain bsr ", prefix,
                     "'"));
        continue;
      }
      if (!checked.insert(zone.bsr->ipAddr()).second) continue;
      const std::string why = whyNoRpf(view_, zone.bsr->ipAddr());
      if (!why.empty())
        add("bsr", problem, sentence("no message of BSR ", zone.bsr->ipAddr(), " could be accepted now: ", why));
    }
  }

  // RPs of a zone whose BSR this router is.
  void announcements(const Pax::IpGenPrefix &zone, const RpCandidateStatus &sets) {
    const Unannounced unannounced = unannouncedOf(sets);
    const auto tell = [&](size_t rps, const char *why) {
      if (rps == 0) return;
      add("rp-set", warning,
          sentence(counted(rps, "RP"), " of zone ", zone, areNot(rps), "announced to others: ", why));
    };
    tell(unannounced.ofBothModes, "a prefix has RPs of both modes, and only the bidirectional ones are announced");
    tell(unannounced.beyondRoom, "a prefix has room for 255");
  }

  static bool hasRp(const RpCandidateStatus &sets) {
    for (const auto &[range, set] : sets.crpSet()) {
      if (!set->rp().empty()) return true;
    }
    return false;
  }

  Rows rowsOf(void (*show)(const VrfView &view, Rows &rows)) const {
    Rows rows = Rows::array();
    show(view_, rows);
    return rows;
  }

  void candidacies(const char *subject, const char *what, const Rows &rows) {
    for (const Rows &row : rows) {
      const bool active = row["active"].get<bool>();
      if (active && row["reason"].is_null()) continue;
      const std::string reason = row["reason"].is_string() ? row["reason"].get<std::string>() : "it waits";
      add(subject, active ? warning : problem,
          "the " + nameOf(what, row) + (active ? " is in force, but " : " is not in force: ") + reason);
    }
  }
  static std::string nameOf(const char *what, const Rows &row) {
    std::string name = what;
    const auto text = [&](const char *lead, const char *member) {
      if (row.contains(member) && row[member].is_string()) name += lead + row[member].get<std::string>();
    };
    text(" on ", "interface");
    text(" for zone ", "zone");
    text(" for ", "prefix");
    const Rows interfaces = row.value("interfaces", Rows::array());
    for (size_t i = 0; i < interfaces.size(); ++i) name += (i == 0 ? " on " : ", ") + interfaces[i].get<std::string>();
    return name;
  }

  void candidateRps() {
    const Rows rows = rowsOf(showCandidateRp);
    candidacies("candidate-rp", "candidate RP", rows);
    for (const Rows &row : rows) {
      for (const Rows &zone : row["zones"]) {
        const std::string of = nameOf("candidate RP", row) + " in zone " + zone["zone"].get<std::string>();
        if (const size_t leftOut = zone["leftOut"].size(); leftOut > 0) {
          add("candidate-rp", warning,
              sentence(counted(leftOut, "range"), " of the ", of, areNot(leftOut),
                       "advertised: an advertisement has room for 255 of a priority"));
        }
        if (const size_t unlisted = unlistedBy(row, zone); unlisted > 0) {
          const std::string rp = row["rp"].get<std::string>();
          add("candidate-rp", warning,
              sentence(counted(unlisted, "range"), " of the ", of, areNot(unlisted),
                       "listed by its BSR; see 'pimbsrctl explain rp ", rp, "'"));
        }
      }
    }
  }
  // How many of the ranges that the RP advertises in the zone its BSR does not list, though it had time to.
  size_t unlistedBy(const Rows &row, const Rows &zone) const {
    const auto prefix = Pax::IpGenPrefix::fromText(zone["zone"].get<std::string>());
    const auto bsr = view_.status->bootstrapRouter(prefix);
    if (!bsr || view_.now - bsr->setupTime() < lately) return 0;
    const auto rp = Pax::IpGenAddr::fromText(row["rp"].get<std::string>());
    size_t unlisted = 0;
    for (const Rows &group : zone["groups"]) {
      const auto set = rpSetOf(*view_.status, prefix, Pax::IpGenPrefix::fromText(group.get<std::string>()));
      if (!set || !set->rp(rp)) ++unlisted;
    }
    return unlisted;
  }

  // What was refused lately and is no copy.
  void refusals() {
    if (!view_.drops) return;
    bool refused = false;
    for (const Drops::Row &row : view_.drops->rows()) {
      if (view_.now - row.last > lately) break;
      if (row.key.vrf == view_.vrf && !row.key.isEcho && !isExpected(row.key.reason)) refused = true;
    }
    if (refused) {
      add("drops", warning, "packets were refused in the last minutes; see 'pimbsrctl show drops'");
    }
  }

  void limits() {
    const auto counters = view_.status->counters();
    if (!counters || counters->limitCounters() == PimBsrLimitCounters()) return;
    add("counters", warning,
        "a limit was reached; see 'refused' of 'pimbsrctl show counters', which 'pimbsrctl clear counters' clears");
  }

  const VrfView &view_;
  Rows &rows_;
  std::map<std::string, size_t> ofKind_;
  size_t found_ = 0;
  size_t neighbors_ = 0;
  size_t electedZones_ = 0;
};

}  // namespace

void summarize(const ProcessView &process, const std::string &vrf, Rows &rows) {
  const auto add = [&](Rows of, const char *subject, const char *state, const std::string &text) {
    rows.push_back({{"vrf", std::move(of)}, {"subject", subject}, {"state", state}, {"text", text}});
  };
  const Agent &agent = process.agent;
  if (agent.shutdown()) add(nullptr, "agent", warning, "a hitless shutdown was requested: only a restart ends it");
  const Troubles &troubles = process.troubles;
  if (process.loading.error.empty() && troubles.saving.empty()) {
    add(nullptr, "agent", ok,
        sentence(agent.name(), " ", PIMBSR_VERSION, ", ", agent.standbyMode() ? "on standby" : "active",
                 ", configuration of ", process.loading.at));
  }
  if (!process.loading.error.empty()) {
    add(nullptr, "agent", problem, "the last reload was refused: " + firstOf(process.loading.error));
  }
  if (!troubles.saving.empty()) add(nullptr, "agent", problem, troubles.saving);
  if (!troubles.metrics.empty()) add(nullptr, "metrics", problem, troubles.metrics);
  for (const Rows &row : vrfRows(process, vrf)) {
    if (row["state"] == "running" || agent.standbyMode()) continue;
    const std::string reason = row["reason"].is_string() ? row["reason"].get<std::string>() : "it is about to start";
    add(row["vrf"], "vrf", problem, "does not run: it waits for " + reason);
  }
}

void summarize(const VrfView &view, Rows &rows) {
  if (!view.bsrSm) return;
  Findings findings(view, rows);
  findings.find();
  if (findings.found() > 0) return;
  rows.push_back(
      {{"vrf", toJson(view.vrf)},
       {"subject", "vrf"},
       {"state", ok},
       {"text", counted(view.pimInterfaces.size(), "interface") + ", " + counted(findings.neighbors(), "neighbor") +
                    ", a BSR in " + counted(findings.electedZones(), "zone")}});
}

Rows conclusion(const Rows &rows) {
  size_t problems = 0, warnings = 0;
  for (const Rows &row : rows) {
    problems += row["state"] == problem ? 1 : 0;
    warnings += row["state"] == warning ? 1 : 0;
  }
  const char *state = problems > 0 ? problem : warnings > 0 ? warning : ok;
  const std::string text =
      state == ok ? "all is well" : counted(problems, "problem") + ", " + counted(warnings, "warning");
  return {{"vrf", nullptr}, {"subject", "all"}, {"state", state}, {"text", text}};
}

}  // namespace Routing::Pim::Bsr
