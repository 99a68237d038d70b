#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "daemon/EventLines.h"
#include "daemon/file/Findings.h"
#include "plan/Naming.h"
#include "plan/Tally.h"

namespace Planning {

using Json = nlohmann::ordered_json;
using Routing::Pim::Bsr::joined;

namespace {

using Cells = std::vector<std::string>;

// What it has may be out of a foreign file.
std::string table(const std::vector<Cells> &rows) {
  std::vector<size_t> widths(rows.front().size());
  for (const Cells &row : rows) {
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  std::string text;
  for (const Cells &row : rows) {
    std::string line = " ";
    for (size_t i = 0; i < row.size(); ++i) line += " " + row[i] + std::string(widths[i] - row[i].size() + 1, ' ');
    line.erase(line.find_last_not_of(' ') + 1);
    text += Routing::Pim::Bsr::EventLines::printable(line) + "\n";
  }
  return text;
}

// "link r1-r2 and link r1-r3"
std::string whatFails(const std::vector<std::string> &what) { return what.empty() ? "nothing" : joined(what, " and "); }

std::string lossesText(const std::vector<Loss> &losses, size_t seeds) {
  std::vector<Cells> rows{{"what", "without BSR", "without RP", "such as"}};
  if (seeds > 1) rows.front().push_back("in runs");
  for (const Loss &loss : losses) {
    rows.push_back({whatFails(loss.what), counted(loss.routersWithoutBsr, "router"),
                    counted(loss.routersWithoutRp, "router"), loss.router});
    if (seeds > 1) rows.back().push_back(std::to_string(loss.runs) + " of " + std::to_string(seeds));
  }
  return table(rows);
}

std::string secondsAt(const WorstAt &worst) {
  return worst.router.empty() ? "0 s" : briefSeconds(worst.seconds) + " s at " + worst.router;
}

std::string worstText(const std::vector<WorstRun> &worst) {
  std::vector<Cells> rows{{"what fails", "without BSR", "without RP", "disagreed", "run"}};
  for (const WorstRun &run : worst) {
    rows.push_back({whatFails(run.what), secondsAt(run.zone.withoutBsr), secondsAt(run.zone.withoutRp),
                    secondsAt(run.zone.disagreed), std::to_string(run.run)});
  }
  return table(rows);
}

// "12 of 1160 runs", or "12 runs" where nobody knows how many there should be.
std::string runsText(const SweepReport &report) {
  if (!report.head || report.missing == 0) return counted(report.runs, "run");
  return std::to_string(report.runs) + " of " + counted(report.runs + report.missing, "run");
}

// What is not found says nothing of runs that are missing.
std::string noneText(const SweepReport &report, const std::string &ofAll, const std::string &ofSome) {
  if (report.isWhole()) return ofAll;
  if (report.runs == 1) return "The only run that is there does not show " + ofSome;
  return std::string("None of the ") + runsText(report) + " that are there shows " + ofSome;
}

// What stays without although nothing fails, and what adds to that.
std::string singlesText(const ZoneReport &zone, const SweepReport &report, size_t seeds) {
  std::string text;
  if (zone.always) {
    const bool lacksBsr = zone.always->routersWithoutBsr > 0, lacksRp = zone.always->routersWithoutRp > 0;
    text += "\nEven where nothing fails, some stay without until the end: ";
    if (lacksBsr) text += counted(zone.always->routersWithoutBsr, "router") + " without BSR";
    if (lacksBsr && lacksRp) text += " and ";
    if (lacksRp) text += counted(zone.always->routersWithoutRp, "router") + " without RP";
    text += ", such as " + Routing::Pim::Bsr::EventLines::printable(zone.always->router) + ".\n";
  }
  if (!zone.singles.empty()) {
    text += zone.always ? "\nWhat it cannot lose besides: more routers stay without BSR or RP, so many in all.\n\n"
                        : "\nWhat it cannot lose: so many routers stay without BSR or RP until the end.\n\n";
    return text + lossesText(zone.singles, seeds);
  }
  if (zone.always) {
    return text + noneText(report, "No link and no router that fails adds to that.\n",
                           "a link or a router that adds to that.\n");
  }
  return "\n" + noneText(report, "It can lose any link and any router: no other router stays without BSR or RP.\n",
                         "a link or a router that it cannot lose.\n");
}

std::string pairsText(const ZoneReport &zone, const SweepReport &report, size_t seeds) {
  if (zone.pairsInAll > 0) {
    std::string text = "\nPairs of links that it cannot lose, though each of them alone:\n\n";
    if (!report.isWhole()) {
      text =
          std::string("\n") + (zone.singles.empty() ? "Pairs" : "Other pairs") + " of links that it cannot lose:\n\n";
    }
    text += lossesText(zone.pairs, seeds);
    const size_t others = zone.pairsInAll - zone.pairs.size();
    return others > 0 ? text + "  and " + counted(others, "more pair") + "\n" : text;
  }
  if (!zone.singles.empty()) {
    const auto lost = std::count_if(zone.singles.begin(), zone.singles.end(),
                                    [](const Loss &loss) { return loss.what.front().starts_with("link "); });
    if (report.isWhole() && report.head->links < static_cast<size_t>(lost) + 2) return "";  // there is no such pair
    return "\n" + noneText(report, "It can lose any pair of links, each of which it can lose alone.\n",
                           "any other pair of links that it cannot lose.\n");
  }
  if (zone.always) {
    return noneText(report, "No pair of links adds to that.\n", "a pair of links that adds to that.\n");
  }
  return noneText(report, "It can lose any pair of links.\n", "a pair of links that it cannot lose.\n");
}

// Where somebody is without whatever fails, there is nothing to say of runs in which nobody is.
std::string remainderText(const ZoneReport &zone, const SweepReport &report) {
  if (!zone.worst.empty()) {
    return "\nThe worst of what it can lose, by the router that was without for longest:\n\n" + worstText(zone.worst);
  }
  if (zone.always) return "";
  return "\n" + noneText(report,
                         "Whatever else fails, no router is without BSR or RP, nor disagrees with others, for any "
                         "time.\n",
                         "another router without BSR or RP, or in disagreement with others, for any time.\n");
}

std::string textOf(const ZoneReport &zone, const SweepReport &report) {
  const std::optional<SweepHead> &head = report.head;
  const size_t seeds = head ? head->seeds : 1;
  const bool pairs = !head || head->pairs > 0;
  const bool tellsVrf = std::any_of(report.zones.begin(), report.zones.end(),
                                    [](const ZoneReport &each) { return !each.domain.isInDefaultVrf(); });
  std::string text = "\nZone " + toText(zone.domain, tellsVrf) + "\n" + singlesText(zone, report, seeds);
  if (pairs) text += pairsText(zone, report, seeds);
  return text + remainderText(zone, report);
}

std::string textOf(const std::vector<ExpectationReport> &expectations) {
  std::vector<Cells> rows{{"held in", "of runs", "expectation"}};
  for (const ExpectationReport &each : expectations) {
    char share[16];
    // Rounded down: what held in all runs but one has not held in 100 %.
    const uint64_t perMille = each.runs == 0 ? 0 : each.held * 1000 / each.runs;
    const double percent = static_cast<double>(perMille) / 10;
    snprintf(share, sizeof share, "%.1f %%", percent);
    std::string text = each.text;
    if (each.held < each.runs) {
      const size_t others = each.runs - each.held - 1;
      text +=
          each.brokenByNothing ? "  (not even where nothing fails" : "  (not without " + whatFails(each.firstBroken);
      if (others > 0) text += ", nor in " + counted(others, "other run");
      text += ")";
    }
    rows.push_back({share, std::to_string(each.held) + " of " + std::to_string(each.runs), text});
  }
  return table(rows);
}

Json jsonOf(const Loss &loss) {
  return {{"fails", loss.what},
          {"runs", loss.runs},
          {"routersWithoutBsr", loss.routersWithoutBsr},
          {"routersWithoutRp", loss.routersWithoutRp},
          {"router", loss.router}};
}

Json jsonOf(const std::vector<Loss> &losses) {
  Json list = Json::array();
  for (const Loss &loss : losses) list.push_back(jsonOf(loss));
  return list;
}

Json jsonOf(const WorstAt &worst) {
  return {{"seconds", worst.seconds}, {"router", worst.router.empty() ? Json() : Json(worst.router)}};
}

Json jsonOf(const ZoneReport &zone) {
  Json worst = Json::array();
  for (const WorstRun &run : zone.worst) {
    worst.push_back({{"fails", run.what},
                     {"run", run.run},
                     {"withoutBsr", jsonOf(run.zone.withoutBsr)},
                     {"withoutRp", jsonOf(run.zone.withoutRp)},
                     {"disagreed", jsonOf(run.zone.disagreed)}});
  }
  Json json = toJson(zone.domain);
  json.update({{"withoutFailure", zone.always ? jsonOf(*zone.always) : Json()},
               {"cannotLose", jsonOf(zone.singles)},
               {"cannotLosePairs", jsonOf(zone.pairs)},
               {"pairs", zone.pairsInAll},
               {"worst", worst}});
  return json;
}

}  // namespace

std::string toText(const SweepReport &report) {
  std::string text = runsText(report);
  if (const auto &head = report.head) {
    text += ": in each, one of " + counted(head->links, "link") + " and " + counted(head->routers, "router");
    if (head->pairs > 0) text += ", or one of " + counted(head->pairs, "pair") + " of links,";
    text += " fails at " + briefSeconds(head->at) + " s and for good; the end is at " + briefSeconds(head->end) + " s";
    if (head->seeds > 1) text += "; with " + std::to_string(head->seeds) + " seeds";
  }
  text += "\n";
  if (report.missing > 0) {
    Cells numbers;
    for (const size_t run : report.firstMissing) numbers.push_back(std::to_string(run));
    text += (report.head ? "" : "at least ") + counted(report.missing, "run") + (report.missing == 1 ? " is" : " are") +
            " missing: " + joined(numbers, ", ") + (report.missing > numbers.size() ? " and so on" : "") + "\n";
  }
  if (report.doubles > 0) {
    text += counted(report.doubles, "result") + (report.doubles == 1 ? " is" : " are") +
            " of a run that has one already, and left out";
    if (report.contradictions > 0)
      text += "; " + std::to_string(report.contradictions) +
              (report.contradictions == 1 ? " of them says something else" : " of them say something else");
    text += "\n";
  }
  for (const ZoneReport &zone : report.zones) text += textOf(zone, report);
  if (!report.expectations.empty()) text += "\nExpectations\n\n" + textOf(report.expectations);
  return text;
}

std::string toJsonText(const SweepReport &report) {
  Json json{{"runs", report.runs},
            {"missing", report.missing},
            {"doubles", report.doubles},
            {"contradictions", report.contradictions}};
  if (const auto &head = report.head) {
    json.update({{"at", head->at},
                 {"end", head->end},
                 {"links", head->links},
                 {"routers", head->routers},
                 {"linkPairs", head->pairs},
                 {"seeds", head->seeds}});
  }
  json["zones"] = Json::array();
  for (const ZoneReport &zone : report.zones) json["zones"].push_back(jsonOf(zone));
  json["expect"] = Json::array();
  for (const ExpectationReport &each : report.expectations) {
    json["expect"].push_back({{"text", each.text},
                              {"held", each.held},
                              {"runs", each.runs},
                              {"notWithout", each.held == each.runs ? Json() : Json(each.firstBroken)}});
  }
  return json.dump() + "\n";
}

}  // namespace Planning
