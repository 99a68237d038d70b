/// Who is what in a simulated network at one moment.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "plan/Legend.h"
#include "plan/Simulation.h"

namespace Planning {

/// What a node is in one zone.
struct ZoneFacts {
  Pax::IpGenAddr bsr;  ///< that it has; zero: none
  bool elected = false;
  bool candidate = false;
  bool hasRps = false;
  bool rp = false;  ///< others know it as RP
};

struct NodeFacts {
  enum class State : uint8_t {
    runs,
    standsBy,
    absent,   ///< its agent runs, but not in this VRF
    stopped,  ///< its agent does not run, and the router forwards
    off,      ///< it has no power
  };
  State state = State::runs;
  std::map<Pax::IpGenPrefix, ZoneFacts> zones;  ///< those to which it belongs, while it runs
  bool candidateRp = false;

  bool elected() const;
  bool candidateBsr() const;
  bool rp() const;
};

/// Of a zone in a VRF.
struct DomainFacts {
  std::map<Pax::IpGenAddr, size_t> routersByBsr;
  size_t running = 0;
  size_t withoutBsr = 0;
  size_t withoutRp = 0;
  std::set<Pax::IpGenAddr> rps;

  /// 1 for the BSR that most routers have, 2 for the next, ...
  size_t rankOf(const Pax::IpGenAddr &bsr) const;
};

/// As it is when it is made.
struct NetworkFacts {
  /// The legend is told of zones and who belongs to them.
  NetworkFacts(const Simulation &simulation, Legend &legend);

  std::vector<std::vector<NodeFacts>> nodes;  ///< by router and VRF
  std::map<Domain, DomainFacts> domains;

 private:
  void findNode(const Simulation &simulation, Legend &legend, const Node &node);
  void findRps(const Simulation &simulation, const Legend &legend, const Node &node);
  void count(const Legend &legend, const Node &node);

  std::set<std::pair<Domain, uint64_t>> known_;  // RP sets that are in `domains`, by their digests
};

}  // namespace Planning
