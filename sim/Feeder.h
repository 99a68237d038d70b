/// A simulated router without an agent that acts as a Bootstrap Router towards its neighbors: it
/// speaks Hello and sends the messages that it is given.
#pragma once

#include <map>

#include "platform/orb/TimerFor.h"
#include "platform/sim/Router.h"
#include "sim/RpTable.h"

namespace Sim {

/// Every period (seconds) it sends each zone's message, all its fragments, out of every interface that has a PIM
/// neighbor, each time with a new fragment tag. Learns nothing; the test that tells it what to say owns it.
class Feeder {
 public:
  using Fragments = std::vector<Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage>>;

  explicit Feeder(Router &router, double period = 60) : router_(router), period_(period) {}
  ~Feeder() { router_.pimStop(false); }

  Router &router() const { return router_; }
  /// Starts speaking Hello; the first round follows when the neighbors have had time to answer.
  void start();
  /// Falls silent, as in a power failure: nobody is told, and no route leads here any more.
  void die();

  /// What it says about the zone from now on, at once if it runs.
  void zoneIs(const Pax::IpGenPrefix &zone, const Fragments &fragments);
  /// Sends everything now, besides the periodic rounds.
  void send();

 private:
  void handleRound();
  void send(const Fragments &fragments);

  Router &router_;
  const double period_;
  std::map<Pax::IpGenPrefix, Fragments> zone_;
  Orb::TimerFor<&Feeder::handleRound> round_{router_.wheel(), *this};
};

}  // namespace Sim
