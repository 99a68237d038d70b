/// The shapes of networks that planners begin with.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Planning {

/// Which routers there are, and which of them have a link to one another. Routers are named by their places.
struct Topology {
  std::vector<std::string> routers;
  std::vector<std::pair<size_t, size_t>> links;
};

/// r1 to rN, each joined to the next, and the last one to the first; 3 or more.
Topology ring(size_t routers);
/// "r2.3" is the third one of the second row; each is joined to those beside, above and below it.
Topology grid(size_t columns, size_t rows);
/// The root is r1, its children r1.1, r1.2 and so on, `depth` times.
Topology tree(size_t depth, size_t children);
/// Of an even number of pods, with half as many aggregation and half as many edge routers each: "agg2.1" is the first
/// one of pod 2, and is joined to all edge routers of its pod and to the first group of core routers.
Topology fatTree(size_t pods);
/// Connected, with at least one link fewer than routers and at most one between any two. The same seed makes the same
/// network.
Topology randomNetwork(size_t routers, size_t links, uint64_t seed);

/// How many links each router is away, by its place; unset where no way leads to it, or none that avoids `without`.
using Distances = std::vector<std::optional<size_t>>;

/// The ways through a topology, which outlives it.
class Ways {
 public:
  explicit Ways(const Topology &topology);
  Distances from(size_t router, std::optional<size_t> without = std::nullopt) const;
  /// Whether the others still reach one another when this one is gone.
  bool canLose(size_t router) const;

 private:
  std::vector<std::vector<size_t>> neighbors_;
};

/// Who is to be what in a network to begin with.
struct Places {
  size_t bsr = 0;
  size_t spareBsr = 0;
  size_t rp = 0;
  size_t spareRp = 0;
};

/// Routers in the middle, far from one another, which the others can lose. Four of them where there are so many. Each
/// is within half the hop limit of advertisements of all others, also when the BSR is gone.
Places placesIn(const Topology &topology);

}  // namespace Planning
