/// When the feeder sends what.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/VrfPlatform.h"
#include "platform/orb/TimerFor.h"

namespace Lab {

/// One message that is sent again and again.
struct Transmission {
  std::string text;            ///< says on the screen what is sent
  double offset = 0;           ///< seconds from the start of the feed to the first sending
  double interval = 60;        ///< seconds between two sendings
  std::function<bool()> send;  ///< false when it was not sent
};

/// Sends every transmission `count` times (0: without end) from the moment when PIM runs on the interface and, if
/// wanted, has a neighbor there; then calls `done`. Prints a line for each sending; one that fails counts too.
class Feed {
 public:
  struct Parameters {
    unsigned count = 0;
    bool waitForNeighbor = true;
    std::function<void()> done;
  };

  Feed(const Linux::VrfPlatform &vrf, const Pax::IntfId &intfId, std::vector<Transmission> transmissions,
       const Parameters &parameters);
  ~Feed();

 private:
  class Sender;
  void startIfReady();
  void finished();

  const Linux::VrfPlatform &vrf_;
  const Pax::IntfId intfId_;
  const Parameters parameters_;
  std::vector<std::unique_ptr<Sender>> senders_;
  size_t running_ = 0;
  Orb::TimerFor<&Feed::startIfReady> start_;
};

}  // namespace Lab
