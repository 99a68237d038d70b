#include "plan/RunText.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "daemon/control/Table.h"
#include "plan/Naming.h"

namespace Planning {

using Control::Rows;

namespace {

std::string rpsText(size_t rps) { return rps == 0 ? "without RPs" : "with " + counted(rps, "RP"); }

// "5 / 15 / 15 at r2", or "5 at all"
std::string spreadText(const Spread &spread) {
  if (spread.nodes == 0) return "-";
  if (briefSeconds(spread.least) == briefSeconds(spread.most)) return briefSeconds(spread.most) + " at all";
  return briefSeconds(spread.least) + " / " + briefSeconds(spread.median) + " / " + briefSeconds(spread.most) + " at " +
         spread.which;
}

std::string agreedText(const ZoneFigures &figures) {
  if (!figures.agreedAfter) return "not by its end";
  return *figures.agreedAfter > 0 ? briefSeconds(*figures.agreedAfter) + " s" : "always";
}

}  // namespace

RunText::RunText(const Plan &plan, std::ostream &out)
    : tellsVrfs_(plan.hasVrfs()), naming_(plan), out_(out), events_(plan, naming_, out) {
  if (!plan.name.empty()) out_ << plan.name << "\n\n";
}

void RunText::writeEvent(double at, size_t router, const Routing::Pim::Bsr::Event &event) {
  events_.add(at, router, event);
  isParted_ = false;
}

// Writes what waits, and an empty line behind it.
void RunText::part() {
  events_.flush();
  if (!std::exchange(isParted_, true)) out_ << '\n';
}

void RunText::writeAction(double at, const Action &action) {
  part();
  out_ << FoldedEvents::timeText(at) << ">>> " << action.text << '\n';
  isParted_ = false;
}

void RunText::writeAgreement(const Agreement &agreement) {
  events_.flush();
  out_ << FoldedEvents::timeText(agreement.at) << "=== all of " << naming_.textOf(agreement.domain) << " agree";
  if (agreement.on.size() == 1) {
    out_ << " on " << naming_.textOf(agreement.on.front().bsr, agreement.domain.vrf) << ' '
         << rpsText(agreement.on.front().rps);
  } else {
    constexpr size_t most = 4;
    const size_t named = std::min(agreement.on.size(), most);
    const char *lead = ", each part on its own: ";
    for (size_t i = 0; i < named; ++i) {
      const Agreement::On &on = agreement.on[i];
      out_ << std::exchange(lead, "; ") << counted(on.nodes, "router") << " on "
           << naming_.textOf(on.bsr, agreement.domain.vrf) << ' ' << rpsText(on.rps);
    }
    if (named < agreement.on.size()) out_ << "; and " << agreement.on.size() - named << " more";
  }
  out_ << ", " << briefSeconds(agreement.after) << " s after " << agreement.what << '\n';
  isParted_ = false;
}

void RunText::writeAnswer(double at, const Question &question, const Rows &rows, bool runs) {
  part();
  out_ << FoldedEvents::timeText(at) << "??? " << question.text << '\n';
  if (!runs) out_ << "            (the agent does not run)\n";
  std::istringstream lines(rows.empty() ? "(nothing)" : toTable(rows, question.noun));
  for (std::string line; std::getline(lines, line);) out_ << "            " << line << '\n';
  out_ << '\n';
}

void RunText::writeOutcome(const Plan &plan, const Outcome &outcome) {
  part();
  out_ << "For how long routers were without, in seconds: least / median / most, and where the most was\n";
  for (const EpisodeFigures &episode : outcome.episodes) writeEpisode(episode);
  writeBsrs(outcome);
  writeVerdicts(plan, outcome);
}

void RunText::writeEpisode(const EpisodeFigures &episode) {
  out_ << "\n  From " << exactSeconds(episode.begin) << " to " << exactSeconds(episode.end) << " s: " << episode.what
       << '\n';
  if (episode.zones.empty()) out_ << "    no router counts\n";
  Rows rows = Rows::array();
  for (const ZoneFigures &zone : episode.zones) {
    Rows &row = rows.emplace_back(Rows::object());
    if (tellsVrfs_) row["VRF"] = zone.domain.vrf;
    row.update({{"zone", Kiv::toText(zone.domain.zone)},
                {"routers", zone.nodes},
                {"no BSR", spreadText(zone.withoutBsr)},
                {"no RP", spreadText(zone.withoutRp)},
                {"disagreed", spreadText(zone.disagreed)},
                {"agreed after", agreedText(zone)}});
  }
  std::istringstream lines(Control::toTable(rows, nullptr));
  for (std::string line; std::getline(lines, line);) out_ << "    " << line << '\n';
}

void RunText::writeBsrs(const Outcome &outcome) {
  out_ << "\nBSRs in the end\n\n" << (outcome.bsrs.empty() ? "  none: no router counts\n" : "");
  for (const BsrAtEnd &bsr : outcome.bsrs) {
    const std::string router = bsr.router.empty() ? bsr.address : bsr.router + " (" + bsr.address + ")";
    out_ << "  " << naming_.textOf(bsr.domain) << ": " << (bsr.address.empty() ? "none" : router) << " at "
         << counted(bsr.nodes, "router") << '\n';
  }
}

void RunText::writeVerdicts(const Plan &plan, const Outcome &outcome) {
  if (outcome.verdicts.empty()) return;
  out_ << "\nExpectations\n\n";
  for (size_t i = 0; i < outcome.verdicts.size(); ++i) {
    const Verdict &verdict = outcome.verdicts[i];
    out_ << "  " << (verdict.holds ? "held:          " : "does not hold: ") << plan.expectations[i].text << "\n"
         << "                 seen: " << verdict.seen << '\n';
  }
  const auto held = static_cast<size_t>(std::count_if(outcome.verdicts.begin(), outcome.verdicts.end(),
                                                      [](const Verdict &verdict) { return verdict.holds; }));
  out_ << '\n' << held << " of " << counted(outcome.verdicts.size(), "expectation") << " held.\n";
}

}  // namespace Planning
