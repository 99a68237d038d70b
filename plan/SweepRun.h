/// One run of a sweep, and the line that tells of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "plan/Cases.h"
#include "plan/Domain.h"

namespace Planning {

/// That a sweep has, at most.
inline constexpr size_t runsMost = 100'000'000;

/// The most at a router, from the failure on; none where nothing fails.
struct WorstAt {
  double seconds = 0;
  std::string router;  ///< empty where that is none
  bool operator==(const WorstAt &) const = default;
};

/// Who has none in the end.
struct LeftWithout {
  size_t routers = 0;
  std::string first;
  bool operator==(const LeftWithout &) const = default;
};

struct SweptZone {
  Domain domain;
  WorstAt withoutBsr, withoutRp, disagreed;
  LeftWithout leftWithoutBsr, leftWithoutRp;
  bool operator==(const SweptZone &) const = default;
};

/// What all runs have in common; the line of run 0 has it.
struct SweepHead {
  double at = 0;
  double end = 0;
  size_t links = 0, routers = 0, pairs = 0;  ///< that fail, for each seed
  size_t seeds = 0;
  std::vector<std::string> expectations;
  size_t perSeed() const { return 1 + links + routers + pairs; }
  size_t runs() const { return perSeed() * seeds; }
  bool operator==(const SweepHead &) const = default;
};

struct SweepRun {
  std::string plan;  ///< the digest of the plan and the setting
  size_t run = 0;
  uint64_t seed = 0;
  std::vector<std::string> failing;
  std::vector<bool> held;  ///< of the expectations
  std::vector<SweptZone> zones;
  std::optional<SweepHead> head;
};

/// Of the plan as a sweep plays it: results go together when they have the same one.
std::string digestOf(const Cases &cases);
SweepHead headOf(const Cases &cases, size_t seeds);
SweepRun sweepRunOf(const Cases &cases, const std::string &digest, size_t run, size_t seeds);

/// JSON without a newline.
std::string lineOf(const SweepRun &run);
/// Throws std::invalid_argument where that is no such line.
SweepRun sweepRunFrom(std::string_view line);

}  // namespace Planning
