/// A simulated router without an agent that acts as a Bootstrap Router towards its neighbours: it
/// speaks Hello and sends the messages that it is given.
#pragma once

#include <map>

#include "platform/orb/TimerWheel.h"
#include "platform/sim/Router.h"
#include "sim/RpTable.h"

namespace Sim {

/// Every period it sends each zone's message, all fragments of it, out of every interface that has a
/// PIM neighbour. A message gets one fragment tag, a new one each time.
class Feeder {
 public:
  using Fragments = std::vector<Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage>>;

  explicit Feeder(Router &router, double period = 60);
  ~Feeder();

  Router &router() const { return router_; }
  /// Starts speaking Hello; the first round follows when the neighbours have had time to answer.
  void start();
  /// Falls silent, as in a power failure: nobody is told, and no route leads here any more.
  void die();

  /// What it says of the zone from now on, at once if it runs.
  void zoneIs(const Pax::IpGenPrefix &zone, const Fragments &fragments);
  void zoneDel(const Pax::IpGenPrefix &zone) { zone_.erase(zone); }
  /// Sends all of it now, besides the periodic rounds.
  void send();

 private:
  class Round : public Orb::Timer {
   public:
    explicit Round(Feeder &feeder) : Timer(feeder.router_.wheel()), feeder_(feeder) {}

   private:
    void onTime() override;
    Feeder &feeder_;
  };

  void send(const Fragments &fragments);

  Router &router_;
  const double period_;
  std::map<Pax::IpGenPrefix, Fragments> zone_;
  Round round_{*this};
};

}  // namespace Sim
