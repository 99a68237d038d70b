#include "plan/Tally.h"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace Planning {

namespace {

constexpr size_t worstRuns = 10;
constexpr size_t worstPairs = 20;
constexpr size_t missingTold = 10;

// The worst first.
bool isWorse(const WorstRun &a, const WorstRun &b) {
  return std::tuple(-a.score(), -a.zone.disagreed.seconds, a.run) <
         std::tuple(-b.score(), -b.zone.disagreed.seconds, b.run);
}

size_t sizeOf(const Loss &loss) { return std::max(loss.routersWithoutBsr, loss.routersWithoutRp); }

bool isGreater(const Loss &a, const Loss &b) {
  return std::pair(sizeOf(b), a.firstRun) < std::pair(sizeOf(a), b.firstRun);
}

// Of what a run has found. How many seeds the sweep has, which the line of run 0 says, is nothing of that.
uint32_t digestOf(SweepRun run) {
  run.head.reset();
  return static_cast<uint32_t>(std::hash<std::string>()(lineOf(run))) | 1;
}

}  // namespace

bool SweepReport::isGood() const {
  return isWhole() && contradictions == 0 &&
         std::all_of(expectations.begin(), expectations.end(),
                     [](const ExpectationReport &each) { return each.held == each.runs; });
}

Tally::Key Tally::keyOf(const std::vector<std::string> &names) {
  Key key;
  for (size_t i = 0; i < std::min<size_t>(2, names.size()); ++i) {
    const auto [known, isNew] = idByName_.try_emplace(names[i], static_cast<uint32_t>(names_.size()));
    if (isNew) names_.push_back(names[i]);
    (i == 0 ? key.first : key.second) = known->second;
  }
  return key;
}

std::vector<std::string> Tally::namesOf(const Key &key) const {
  std::vector<std::string> names{names_[key.first]};
  if (key.second != 0) names.push_back(names_[key.second]);
  return names;
}

bool Tally::add(const SweepRun &run) {
  if (plan_.empty()) plan_ = run.plan;
  if (run.plan != plan_) throw std::invalid_argument("is of another plan, or of another setting of the sweep");
  if (run.run >= runsMost) throw std::invalid_argument("is of no run that a sweep has");
  if (run.run >= digests_.size()) digests_.resize(std::max(run.run + 1, digests_.size() * 3 / 2));
  if (run.head && (!head_ || run.head->seeds > head_->seeds)) head_ = run.head;
  const auto digest = digestOf(run);
  if (digests_[run.run] != 0) {
    ++doubles_;
    if (digests_[run.run] != digest) ++contradictions_;
    return false;
  }
  if (runs_ > 0 && run.held.size() != expectations_.size()) {
    throw std::invalid_argument("tells of another number of expectations than the others");
  }
  digests_[run.run] = digest;
  end_ = std::max(end_, run.run + 1);
  ++runs_;
  if (expectations_.size() < run.held.size()) {
    expectations_.resize(run.held.size());
    firstBroken_.resize(run.held.size(), SIZE_MAX);
  }
  for (size_t i = 0; i < run.held.size(); ++i) {
    ExpectationReport &expectation = expectations_[i];
    ++expectation.runs;
    expectation.held += run.held[i] ? 1 : 0;
    if (!run.held[i] && run.run < firstBroken_[i]) {
      firstBroken_[i] = run.run;
      expectation.firstBroken = run.failing;
      expectation.brokenByNothing = run.failing.empty();
    }
  }
  const Key key = keyOf(run.failing);
  for (const SweptZone &zone : run.zones) addZone(run, zone, key);
  return true;
}

void Tally::addLoss(const SweepRun &run, const SweptZone &zone, Loss &loss) {
  if (loss.runs++ == 0 || run.run < loss.firstRun) {
    loss.firstRun = run.run;
    loss.router = zone.leftWithoutBsr.routers > 0 ? zone.leftWithoutBsr.first : zone.leftWithoutRp.first;
  }
  loss.routersWithoutBsr = std::max(loss.routersWithoutBsr, zone.leftWithoutBsr.routers);
  loss.routersWithoutRp = std::max(loss.routersWithoutRp, zone.leftWithoutRp.routers);
}

void Tally::addZone(const SweepRun &run, const SweptZone &zone, const Key &key) {
  ZoneTally &tally = zones_[zone.domain];
  if (zone.leftWithoutBsr.routers > 0 || zone.leftWithoutRp.routers > 0) {
    addLoss(run, zone, tally.losses[key]);
    return;
  }
  const WorstRun candidate{{}, run.run, zone};
  if (candidate.score() == 0 && zone.disagreed.seconds == 0) return;
  const auto [known, isNew] = tally.worst.try_emplace(key, candidate);
  if (!isNew && isWorse(candidate, known->second)) known->second = candidate;
  if (tally.worst.size() <= worstRuns) return;
  tally.worst.erase(std::max_element(tally.worst.begin(), tally.worst.end(),
                                     [](const auto &a, const auto &b) { return isWorse(a.second, b.second); }));
}

ZoneReport Tally::reportOf(const Domain &domain, const ZoneTally &tally) const {
  ZoneReport report;
  report.domain = domain;
  const auto always = tally.losses.find(Key());
  if (always != tally.losses.end()) report.always = always->second;
  const auto adds = [&](const Loss &loss) {
    return !report.always || loss.routersWithoutBsr > report.always->routersWithoutBsr ||
           loss.routersWithoutRp > report.always->routersWithoutRp;
  };
  std::set<uint32_t> singles;
  for (const auto &[key, loss] : tally.losses) {
    if (key.second != 0 || !adds(loss)) continue;
    singles.insert(key.first);
    report.singles.push_back(loss);
    report.singles.back().what = namesOf(key);
  }
  std::sort(report.singles.begin(), report.singles.end(), isGreater);
  std::vector<std::pair<const Loss *, Key>> pairs;
  for (const auto &[key, loss] : tally.losses) {
    if (key.second == 0 || singles.contains(key.first) || singles.contains(key.second) || !adds(loss)) continue;
    pairs.emplace_back(&loss, key);
  }
  std::sort(pairs.begin(), pairs.end(), [](const auto &a, const auto &b) { return isGreater(*a.first, *b.first); });
  report.pairsInAll = pairs.size();
  if (pairs.size() > worstPairs) pairs.resize(worstPairs);
  for (const auto &[loss, key] : pairs) {
    report.pairs.push_back(*loss);
    report.pairs.back().what = namesOf(key);
  }
  for (const auto &[key, run] : tally.worst) {
    report.worst.push_back(run);
    report.worst.back().what = namesOf(key);
  }
  std::sort(report.worst.begin(), report.worst.end(), isWorse);
  return report;
}

SweepReport Tally::report() const {
  SweepReport report;
  report.head = head_;
  report.runs = runs_;
  report.doubles = doubles_;
  report.contradictions = contradictions_;
  report.expectations = expectations_;
  for (size_t i = 0; i < expectations_.size(); ++i) {
    report.expectations[i].text =
        head_ && i < head_->expectations.size() ? head_->expectations[i] : "expectation " + std::to_string(i + 1);
  }
  const size_t all = head_ ? head_->runs() : end_;
  for (size_t run = 0; run < all; ++run) {
    if (has(run)) continue;
    if (report.missing++ < missingTold) report.firstMissing.push_back(run);
  }
  for (const auto &[domain, tally] : zones_) report.zones.push_back(reportOf(domain, tally));
  return report;
}

}  // namespace Planning
