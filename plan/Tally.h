/// Puts the results of a sweep together, in any order, and keeps no more of them than its tables need.
#pragma once

#include <map>
#include <string_view>

#include "plan/SweepRun.h"

namespace Planning {

/// What a zone cannot lose: without it, routers stay without BSR or RP until the end.
struct Loss {
  std::vector<std::string> what;  ///< one element, or two links
  size_t runs = 0;                ///< in which it was so
  size_t firstRun = 0;
  size_t routersWithoutBsr = 0;  ///< at most, as those without RP
  size_t routersWithoutRp = 0;
  std::string router;  ///< one of them
};

/// A run after which all routers of the zone had what they need.
struct WorstRun {
  std::vector<std::string> what;
  size_t run = 0;
  SweptZone zone;
  double score() const { return std::max(zone.withoutBsr.seconds, zone.withoutRp.seconds); }
};

struct ZoneReport {
  Domain domain;
  std::optional<Loss> always;  ///< who stays without even where nothing fails
  std::vector<Loss> singles;   ///< that add to it, as the pairs do
  std::vector<Loss> pairs;     ///< the worst, of those of which each alone can be lost
  size_t pairsInAll = 0;
  std::vector<WorstRun> worst;
};

struct ExpectationReport {
  std::string text;
  size_t held = 0;
  size_t runs = 0;
  std::vector<std::string> firstBroken;  ///< what failed in the first run in which it did not hold
  bool brokenByNothing = false;          ///< it does not hold even where nothing fails
};

struct SweepReport {
  std::optional<SweepHead> head;  ///< unset: the line of run 0 is missing
  size_t runs = 0;
  size_t missing = 0;
  std::vector<size_t> firstMissing;
  size_t doubles = 0;
  size_t contradictions = 0;  ///< doubles that say something else
  std::vector<ZoneReport> zones;
  std::vector<ExpectationReport> expectations;

  /// Whether all runs are there.
  bool isWhole() const { return head && missing == 0; }
  /// Whether all runs are there, and all expectations held in all of them.
  bool isGood() const;
};

class Tally {
 public:
  /// Throws std::invalid_argument where the result is of another sweep. A second result of a run is counted, and
  /// otherwise left out: false.
  bool add(const SweepRun &run);
  bool has(size_t run) const { return run < digests_.size() && digests_[run] != 0; }
  /// Behind the last run that is there.
  size_t end() const { return end_; }
  /// What all results are of; empty before the first.
  const std::string &plan() const { return plan_; }
  SweepReport report() const;

 private:
  using Key = std::pair<uint32_t, uint32_t>;  // of the names of what fails
  struct ZoneTally {
    std::map<Key, Loss> losses;     // their names are in the key; without any where nothing fails
    std::map<Key, WorstRun> worst;  // few
  };
  Key keyOf(const std::vector<std::string> &names);
  std::vector<std::string> namesOf(const Key &key) const;
  void addZone(const SweepRun &run, const SweptZone &zone, const Key &key);
  static void addLoss(const SweepRun &run, const SweptZone &zone, Loss &loss);
  ZoneReport reportOf(const Domain &domain, const ZoneTally &tally) const;

  std::string plan_;
  std::optional<SweepHead> head_;
  std::vector<uint32_t> digests_;  // by run, of its line; 0: none yet
  size_t end_ = 0;
  size_t runs_ = 0, doubles_ = 0, contradictions_ = 0;
  std::vector<ExpectationReport> expectations_;
  std::vector<size_t> firstBroken_;  // run by expectation
  std::map<Domain, ZoneTally> zones_;
  std::map<std::string, uint32_t> idByName_;
  std::vector<std::string> names_{""};
};

/// For people.
std::string toText(const SweepReport &report);
/// For programs: one object.
std::string toJsonText(const SweepReport &report);

}  // namespace Planning
