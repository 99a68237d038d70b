#include "view/Summary.h"

#include "view/Drops.h"
#include "view/Reasons.h"
#include "view/Rpf.h"
#include "view/Sentence.h"
#include "view/ZoneView.h"

namespace Routing::Pim::Bsr {

namespace {

constexpr const char *ok = "ok", *warning = "warning", *problem = "problem";

// Collects what is wrong in a VRF, of each kind the first few.
class Findings {
 public:
  Findings(const VrfView &view, Rows &rows) : view_(view), rows_(rows) {}

  void find() {
    interfaces();
    zones();
    candidacies("candidate-bsr", showCandidateBsr);
    const auto whole = [](auto show) {
      return [show](const VrfView &view, ShowCursor &, Rows &rows) {
        show(view, rows);
        return false;
      };
    };
    candidacies("candidate-rp", whole(showCandidateRp));
    candidacies("border", whole(showBorder));
    candidacies("filter", whole(showFilter));
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
      if (zone.isOwn() || !checked.insert(zone.bsr->ipAddr()).second) continue;
      const std::string why = whyNoRpf(view_, zone.bsr->ipAddr());
      if (!why.empty()) add("bsr", problem, sentence("messages of BSR ", zone.bsr->ipAddr(), " are refused: ", why));
    }
  }

  static bool hasRp(const RpCandidateStatus &sets) {
    for (const auto &[range, set] : sets.crpSet()) {
      if (!set->rp().empty()) return true;
    }
    return false;
  }

  template <class Show>
  void candidacies(const char *subject, const Show &show) {
    ShowCursor cursor;
    for (bool more = true; more;) {
      Rows rows = Rows::array();
      more = show(view_, cursor, rows);
      for (const Rows &row : rows) {
        if (row["active"].get<bool>() && row["reason"].is_null()) continue;
        const std::string reason = row["reason"].is_string() ? row["reason"].get<std::string>() : "it waits";
        add(subject, row["active"].get<bool>() ? warning : problem, "not in force: " + reason);
      }
    }
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
    add("counters", warning, "a limit was reached; see 'refused' of 'pimbsrctl show counters'");
  }

  const VrfView &view_;
  Rows &rows_;
  std::map<std::string, size_t> ofKind_;
  size_t found_ = 0;
  size_t neighbors_ = 0;
  size_t electedZones_ = 0;
};

std::string counted(size_t number, const char *what) { return sentence(number, " ", what, number == 1 ? "" : "s"); }

}  // namespace

void summarize(const ProcessView &process, const std::string &vrf, Rows &rows) {
  const auto add = [&](Rows of, const char *subject, const char *state, const std::string &text) {
    rows.push_back({{"vrf", std::move(of)}, {"subject", subject}, {"state", state}, {"text", text}});
  };
  const Agent &agent = process.agent;
  if (agent.shutdown()) add(nullptr, "agent", warning, "a hitless shutdown was requested: only a restart ends it");
  add(nullptr, "agent", ok,
      sentence(agent.name(), " ", PIMBSR_VERSION, ", ", agent.standbyMode() ? "on standby" : "active",
               ", configuration of ", process.loading.at));
  if (!process.loading.error.empty()) {
    add(nullptr, "agent", problem, "the last reload was refused: " + process.loading.error);
  }
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
