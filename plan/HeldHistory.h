/// Who held which BSRs over time, in numbers: what the picture of the time line shows.
#pragma once

#include <map>
#include <vector>

#include "plan/Legend.h"
#include "plan/Simulation.h"

namespace Planning {

/// The routers of a zone in a VRF over time.
struct Lane {
  /// What holds from a time on, until the next step.
  struct Step {
    double from = 0;             ///< seconds
    std::vector<size_t> having;  ///< by the place of the BSR: how many routers have it
    size_t withoutBsr = 0;
    size_t withoutRp = 0;
    size_t running() const;
    bool isAsOf(const Step &other) const;
  };
  Domain domain;
  size_t members = 0;                ///< nodes that belong to it, whether they run or not
  std::vector<Pax::IpGenAddr> bsrs;  ///< those first that most routers have for longest
  std::vector<Step> steps;           ///< from 0 on
};

/// Notes what changes, so that memory goes with the changes. The simulation and the legend, which is told of zones and
/// BSRs as they appear, outlive it. A node counts while its agent runs in its VRF and does not stand by.
class HeldHistory : public Observer {
 public:
  HeldHistory(const Simulation &simulation, Legend &legend);

  void handleHeld(const Node &node) override { note(node); }
  void handleReach() override { runsChanged_ = true; }
  void handleInstant() override;

  /// By VRF and zone, in this order; a VRF in which no agent that should have a BSR ever runs has none.
  std::vector<Lane> lanes() const;

 private:
  struct Holding {
    Pax::IpGenAddr bsr;  // zero: none
    bool hasRps = false;
    bool operator==(const Holding &) const = default;
  };
  using Holdings = std::map<Pax::IpGenPrefix, Holding>;
  // Of a node; unset: it does not count.
  using State = std::optional<Holdings>;
  struct Change {
    double time;
    Node node;
    State state;
  };
  class Counting;

  void note(const Node &node);
  State stateOf(const Node &node) const;

  const Simulation &simulation_;
  bool runsChanged_ = false;  // maybe
  Legend &legend_;
  std::vector<std::vector<State>> last_;  // by router and VRF
  std::vector<Change> changes_;
};

}  // namespace Planning
