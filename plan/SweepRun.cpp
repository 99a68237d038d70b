#include "plan/SweepRun.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "plan/Outcome.h"
#include "plan/PlanDigest.h"
#include "platform/kiv/Value.h"

namespace Planning {

using Json = nlohmann::ordered_json;

namespace {

WorstAt worstOf(const Spread &spread) { return {std::round(spread.most * 1e6) / 1e6, spread.which}; }

LeftWithout leftIn(const Domain &domain, Outage outage, const Account &account, const Plan &plan) {
  LeftWithout left;
  for (const size_t node : account.counting(domain)) {
    if (!account.zone(domain.zone)->of(outage, node).isOpen()) continue;
    if (left.routers++ == 0) left.first = plan.nameOf(account.nodes()[node]);
  }
  return left;
}

Json jsonOf(const WorstAt &worst) { return {worst.seconds, worst.router}; }
Json jsonOf(const LeftWithout &left) { return {left.routers, left.first}; }

// A size_t would take a negative or a broken number for another one.
size_t countFrom(const Json &json) {
  if (!json.is_number_unsigned()) throw std::invalid_argument("is no result of a sweep: it counts with no number");
  return json;
}

double secondsFrom(const Json &json) {
  constexpr double secondsMost = 1e9;
  const double seconds = json;
  if (seconds >= 0 && seconds <= secondsMost) return seconds;
  throw std::invalid_argument("is no result of a sweep: " + json.dump() + " s is no time");
}

WorstAt worstFrom(const Json &json) { return {secondsFrom(json.at(0)), json.at(1)}; }
LeftWithout leftFrom(const Json &json) { return {countFrom(json.at(0)), json.at(1)}; }

Json jsonOf(const SweepHead &head) {
  return {{"at", head.at},       {"end", head.end},     {"links", head.links},        {"routers", head.routers},
          {"pairs", head.pairs}, {"seeds", head.seeds}, {"expect", head.expectations}};
}

SweepHead headFrom(const Json &json) {
  const SweepHead head{secondsFrom(json.at("at")),
                       secondsFrom(json.at("end")),
                       countFrom(json.at("links")),
                       countFrom(json.at("routers")),
                       countFrom(json.at("pairs")),
                       countFrom(json.at("seeds")),
                       json.at("expect")};
  const bool isOverflow = std::max({head.links, head.routers, head.pairs}) > runsMost;
  if (isOverflow || head.seeds == 0 || head.seeds > runsMost / head.perSeed()) {
    throw std::invalid_argument("is no result of a sweep: it has no runs, or more than " + std::to_string(runsMost));
  }
  return head;
}

}  // namespace

std::string digestOf(const Cases &cases) {
  Plan plan = cases.base();
  plan.story.push_back({.at = cases.setting().at, .text = cases.setting().pairs ? "pairs" : "no pairs"});
  return digestOf(plan);
}

SweepHead headOf(const Cases &cases, size_t seeds) {
  SweepHead head{cases.setting().at, cases.base().duration, cases.links(), cases.routers(), cases.pairs(), seeds, {}};
  for (const Expectation &each : cases.base().expectations) head.expectations.push_back(each.text);
  return head;
}

SweepRun sweepRunOf(const Cases &cases, const std::string &digest, size_t run, size_t seeds) {
  SweepRun result{digest, run, cases.seedOf(run), cases.failing(run), {}, {}, {}};
  if (run == 0) result.head = headOf(cases, seeds);
  const Plan plan = cases.planOf(run);
  Simulation simulation(plan, result.seed);
  Account account(simulation);
  const Judge judge(simulation, account);
  simulation.runTo(plan.duration);
  const Outcome outcome = outcomeOf(result.seed, simulation, account, judge);
  for (const Verdict &verdict : outcome.verdicts) result.held.push_back(verdict.holds);
  for (const ZoneFigures &figures : outcome.episodes.back().zones) {
    SweptZone &zone = result.zones.emplace_back();
    zone.domain = figures.domain;
    zone.leftWithoutBsr = leftIn(figures.domain, Outage::withoutBsr, account, plan);
    zone.leftWithoutRp = leftIn(figures.domain, Outage::withoutRp, account, plan);
    if (result.failing.empty()) continue;  // its last episode begins with something else than a failure
    zone.withoutBsr = worstOf(figures.withoutBsr);
    zone.withoutRp = worstOf(figures.withoutRp);
    zone.disagreed = worstOf(figures.disagreed);
  }
  return result;
}

std::string lineOf(const SweepRun &run) {
  Json json{{"plan", run.plan}, {"run", run.run}, {"seed", run.seed}, {"fails", run.failing}, {"held", run.held}};
  json["zones"] = Json::array();
  for (const SweptZone &zone : run.zones) {
    Json &row = json["zones"].emplace_back(toJson(zone.domain));
    row.update({{"withoutBsr", jsonOf(zone.withoutBsr)},
                {"withoutRp", jsonOf(zone.withoutRp)},
                {"disagreed", jsonOf(zone.disagreed)},
                {"leftWithoutBsr", jsonOf(zone.leftWithoutBsr)},
                {"leftWithoutRp", jsonOf(zone.leftWithoutRp)}});
  }
  if (run.head) json["sweep"] = jsonOf(*run.head);
  return json.dump();
}

SweepRun sweepRunFrom(std::string_view line) {
  try {
    const Json json = Json::parse(line);
    SweepRun run{
        json.at("plan"), countFrom(json.at("run")), json.at("seed"), json.at("fails"), json.at("held"), {}, {}};
    if (run.failing.size() > 2) throw std::invalid_argument("is no result of a sweep: more than two things fail");
    for (const Json &figures : json.at("zones")) {
      run.zones.push_back({domainFrom(figures), worstFrom(figures.at("withoutBsr")), worstFrom(figures.at("withoutRp")),
                           worstFrom(figures.at("disagreed")), leftFrom(figures.at("leftWithoutBsr")),
                           leftFrom(figures.at("leftWithoutRp"))});
    }
    if (json.contains("sweep")) run.head = headFrom(json.at("sweep"));
    return run;
  } catch (const Json::exception &) {
  } catch (const Kiv::RangeError &) {
  }
  throw std::invalid_argument("is no result of a sweep, or one of another version");
}

}  // namespace Planning
