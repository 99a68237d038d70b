#include "plan/Topology.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "platform/orb/Random.h"

namespace Planning {

namespace {

std::string nameOf(const char *kind, size_t number) { return std::string(kind).append(std::to_string(number)); }

std::string nameOf(const char *kind, size_t group, size_t number) {
  return nameOf(kind, group).append(".").append(std::to_string(number));
}

size_t below(Orb::Random &random, size_t most) {
  return static_cast<size_t>(random.uniform(0, static_cast<double>(most)));
}

}  // namespace

Topology ring(size_t routers) {
  Topology made;
  for (size_t i = 0; i < routers; ++i) {
    made.routers.push_back(nameOf("r", i + 1));
    made.links.emplace_back(i, (i + 1) % routers);
  }
  return made;
}

Topology grid(size_t columns, size_t rows) {
  Topology made;
  for (size_t row = 0; row < rows; ++row) {
    for (size_t column = 0; column < columns; ++column) {
      const size_t here = made.routers.size();
      made.routers.push_back(nameOf("r", row + 1, column + 1));
      if (column > 0) made.links.emplace_back(here - 1, here);
      if (row > 0) made.links.emplace_back(here - columns, here);
    }
  }
  return made;
}

Topology tree(size_t depth, size_t children) {
  Topology made{{"r1"}, {}};
  size_t parent = 0;
  for (size_t level = 0; level < depth; ++level) {
    for (const size_t end = made.routers.size(); parent < end; ++parent) {
      for (size_t child = 1; child <= children; ++child) {
        made.links.emplace_back(parent, made.routers.size());
        made.routers.push_back(made.routers[parent] + "." + std::to_string(child));
      }
    }
  }
  return made;
}

Topology fatTree(size_t pods) {
  Topology made;
  const size_t half = pods / 2;
  for (size_t core = 0; core < half * half; ++core) made.routers.push_back(nameOf("core", core + 1));
  for (size_t pod = 1; pod <= pods; ++pod) {
    const size_t first = made.routers.size();
    for (size_t i = 1; i <= half; ++i) made.routers.push_back(nameOf("agg", pod, i));
    for (size_t i = 1; i <= half; ++i) made.routers.push_back(nameOf("edge", pod, i));
    for (size_t up = 0; up < half; ++up) {
      for (size_t core = 0; core < half; ++core) made.links.emplace_back(up * half + core, first + up);
      for (size_t edge = 0; edge < half; ++edge) made.links.emplace_back(first + up, first + half + edge);
    }
  }
  return made;
}

// A tree that any router may be the root of, and then any links.
Topology randomNetwork(size_t routers, size_t links, uint64_t seed) {
  Topology made;
  Orb::Random random(seed);
  std::vector<size_t> order(routers);
  std::iota(order.begin(), order.end(), 0);
  for (size_t i = 0; i < routers; ++i) {
    made.routers.push_back(nameOf("r", i + 1));
    std::swap(order[i], order[i + below(random, routers - i)]);
  }
  std::set<std::pair<size_t, size_t>> chosen;
  for (size_t i = 1; i < routers; ++i) chosen.insert(std::minmax(order[i], order[below(random, i)]));
  while (chosen.size() < links) {
    const auto [a, b] = std::pair(below(random, routers), below(random, routers));
    if (a != b) chosen.insert(std::minmax(a, b));
  }
  made.links.assign(chosen.begin(), chosen.end());
  return made;
}

Ways::Ways(const Topology &topology) : neighbors_(topology.routers.size()) {
  for (const auto &[a, b] : topology.links) {
    neighbors_[a].push_back(b);
    neighbors_[b].push_back(a);
  }
}

Distances Ways::from(size_t router, std::optional<size_t> without) const {
  Distances distances(neighbors_.size());
  distances[router] = 0;
  std::vector<size_t> reached{router};
  for (size_t i = 0; i < reached.size(); ++i) {
    for (const size_t neighbor : neighbors_[reached[i]]) {
      if (distances[neighbor] || neighbor == without) continue;
      distances[neighbor] = *distances[reached[i]] + 1;
      reached.push_back(neighbor);
    }
  }
  return distances;
}

bool Ways::canLose(size_t router) const {
  const Distances distances = from(router == 0 ? neighbors_.size() - 1 : 0, router);
  return std::count(distances.begin(), distances.end(), std::nullopt) == 1;
}

namespace {

// Far below the hop limit of advertisements: what planners add between them does not matter yet.
constexpr size_t hopsApartMost = 32;

// From the middle outwards, as many as there is a choice of.
std::vector<size_t> losableOf(const Topology &topology, const Ways &ways) {
  std::vector<std::pair<size_t, size_t>> middle;  // how far all others are in sum, and who
  for (size_t router = 0; router < topology.routers.size(); ++router) {
    size_t sum = 0;
    for (const auto &distance : ways.from(router)) sum += distance.value_or(0);
    middle.emplace_back(sum, router);
  }
  std::sort(middle.begin(), middle.end());
  const size_t wanted = std::max<size_t>(4, middle.size() / 2);
  std::vector<size_t> pool;
  size_t farthest = 0;
  for (const auto &[sum, router] : middle) {
    if (pool.size() >= wanted && sum > farthest) break;
    if (!ways.canLose(router)) continue;
    pool.push_back(router);
    farthest = sum;
  }
  return pool;
}

// The first of the pool, and up to three that are far from it and from one another, though not too far; the others not
// even when the first is gone. A second one there always is, if need be one that the network cannot lose.
std::vector<size_t> takenFrom(const std::vector<size_t> &pool, const Ways &ways, size_t routers) {
  std::vector<size_t> nearest(routers, SIZE_MAX);  // how far the nearest one is that is taken; 0 if another is too far
  std::vector<size_t> all(routers);
  std::iota(all.begin(), all.end(), 0);
  const auto farthestOf = [&](const std::vector<size_t> &from) {
    return *std::max_element(from.begin(), from.end(), [&](size_t a, size_t b) { return nearest[a] < nearest[b]; });
  };
  std::vector<size_t> taken;
  while (taken.size() < std::min<size_t>(4, pool.size())) {
    size_t next = farthestOf(pool);
    if (nearest[next] == 0 && taken.size() == 1) next = farthestOf(all);
    if (nearest[next] == 0) break;
    taken.push_back(next);
    const Distances distances = ways.from(next), later = ways.from(next, taken.front());
    for (size_t i = 0; i < routers; ++i) {
      const size_t hops = distances[i].value_or(SIZE_MAX);
      const size_t hopsLater = taken.size() == 1 ? hops : later[i].value_or(SIZE_MAX);
      nearest[i] = std::max(hops, hopsLater) > hopsApartMost ? 0 : std::min(nearest[i], hops);
    }
  }
  return taken;
}

}  // namespace

Places placesIn(const Topology &topology) {
  const Ways ways(topology);
  const std::vector<size_t> taken = takenFrom(losableOf(topology, ways), ways, topology.routers.size());
  // Of three routers the spare BSR is the spare RP, too; of two each stands in for the other.
  const size_t bsr = taken[0], spareBsr = taken[1];
  const size_t rp = taken.size() > 2 ? taken[2] : spareBsr;
  const size_t spareRp = taken.size() > 3 ? taken[3] : rp == spareBsr ? bsr : spareBsr;
  return {bsr, spareBsr, rp, spareRp};
}

}  // namespace Planning
