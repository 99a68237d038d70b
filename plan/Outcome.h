/// What became of a plan: plain data of one run that is over.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "plan/Judge.h"

namespace Planning {

/// Seconds at the nodes that count for a zone.
struct Spread {
  double least = 0;
  double median = 0;
  double most = 0;
  size_t nodes = 0;   ///< at so many it was more than none
  std::string which;  ///< the first with the most; empty where that is none
  bool operator==(const Spread &) const = default;
};

/// Of one zone in one VRF in one episode.
struct ZoneFigures {
  Domain domain;
  size_t nodes = 0;  ///< that counted at some time of the episode
  Spread withoutBsr;
  Spread withoutRp;
  Spread disagreed;
  /// Seconds from its beginning after which all had a BSR and agreed for the rest of it: 0 where they always did;
  /// unset where they did not in the end.
  std::optional<double> agreedAfter;
  bool operator==(const ZoneFigures &) const = default;
};

struct EpisodeFigures {
  double begin = 0;
  double end = 0;
  std::string what;  ///< "Link r1-r2 is cut; The agent of r3 crashes"
  std::vector<ZoneFigures> zones;
  bool operator==(const EpisodeFigures &) const = default;
};

/// A BSR of a zone in the end.
struct BsrAtEnd {
  Domain domain;
  std::string address;  ///< empty: none
  std::string router;   ///< whose address that is, if it is one router's
  size_t nodes = 0;     ///< that hold it, of those that count
  bool operator==(const BsrAtEnd &) const = default;
};

struct Outcome {
  uint64_t seed = 0;
  std::vector<EpisodeFigures> episodes;
  std::vector<Verdict> verdicts;  ///< of the plan's expectations, in their order
  std::vector<BsrAtEnd> bsrs;     ///< by VRF and zone, the one that most hold first

  bool holds() const;  ///< every expectation
  bool operator==(const Outcome &) const = default;
};

/// Plays the plan to its end and tells nobody.
Outcome play(const Plan &plan, uint64_t seed);
/// Of a run that is over.
Outcome outcomeOf(uint64_t seed, const Simulation &simulation, const Account &account, const Judge &judge);

/// {"seed", "episodes": [{"at", "until", "what", "zones": [...]}], "expect": [{"holds", "seen"}], "bsrs": [...]};
/// seconds are rounded to microseconds.
nlohmann::ordered_json toJson(const Outcome &outcome);
nlohmann::ordered_json toJson(const EpisodeFigures &episode);

}  // namespace Planning
