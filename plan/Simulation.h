/// A plan as it is carried out: the routers' own agents on virtual time.
#pragma once

#include <memory>
#include <vector>

#include "plan/Box.h"
#include "plan/Plan.h"
#include "platform/sim/Network.h"

namespace Planning {

/// Whoever wants to know what happens in a simulation. Is told in the middle of it: it takes note, and asks the
/// simulation, but changes nothing.
class Observer {
 public:
  virtual ~Observer() = default;
  /// The story is about to go on: what the action leads to at once is told after this...
  virtual void handleBefore(const Action &) {}
  /// ...and before this, when it has happened.
  virtual void handleAction(const Action &) {}
  /// The agent of the router tells something.
  virtual void handleEvent(size_t /*router*/, const Routing::Pim::Bsr::Event &) {}
  /// The node holds something else than before: Simulation::held() has it.
  virtual void handleHeld(const Node &) {}
  /// Who hears whom may be otherwise: an agent starts or ends, links, interfaces or borders change.
  virtual void handleReach() {}
  /// Everything of this instant has happened: after all that is told above, and when somebody wanted to look.
  virtual void handleInstant() {}
};

/// Everything random comes from the seed: the same plan with the same seed gives the same run, event for event. The
/// plan and the observers outlive it.
class Simulation {
 public:
  Simulation(const Plan &plan, uint64_t seed);
  ~Simulation();

  const Plan &plan() const { return plan_; }
  /// Seconds from the beginning.
  double now() const { return network_.time().now() - Sim::VirtualTime::start; }
  void observe(Observer &observer) { observers_.push_back(&observer); }
  /// Runs everything up to and including this time.
  void runTo(double time) { network_.time().runTo(Sim::VirtualTime::start + time); }
  /// At this time, observers are told the end of the instant whatever happens in it.
  void lookAt(double time);
  /// Carries out an action now, of the story or not. One that changes nothing is left out.
  void act(const Action &action);

  Box &box(size_t router) const { return *boxes_[router]; }
  const HeldByZone &held(const Node &node) const { return held_[node.router][node.vrf]; }
  Sim::Link &link(size_t place) const { return *network_.links()[place]; }
  Sim::Network &network() const { return network_; }
  /// By router and VRF, a number for each node whose agent runs there and does not stand by; equal for those that hear
  /// of the zone from one another, since links that work and are no borders of the zone lead from one to the other.
  std::vector<std::vector<std::optional<size_t>>> regions(const Pax::IpGenPrefix &zone) const;

 private:
  class InstantEnd;
  void joinLinks();
  void start(size_t router);
  bool hears(const Member &member, const Pax::IpGenPrefix &zone) const;
  void actOnInterface(const Action &action);
  void settled(size_t router, size_t vrf);
  void reachChanged();

  const Plan &plan_;
  mutable Sim::Network network_;
  std::vector<Observer *> observers_;
  std::vector<std::vector<HeldByZone>> held_;  // by router and VRF
  std::unique_ptr<InstantEnd> instantEnd_;
  std::vector<std::unique_ptr<Box>> boxes_;
  std::vector<Routing::Pim::Bsr::EventLog::Listening> listenings_;
};

}  // namespace Planning
