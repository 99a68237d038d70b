/// The last accepted Bootstrap message of a zone, with its other fragments.
#pragma once

#include <vector>

#include "engine/RxFragments.h"
#include "platform/pim/Packet.h"

namespace Routing::Pim::Bsr {

/// A fragmented message arrives as several accepted messages with one tag. The newest message is kept,
/// and those of its tag and BSR that were accepted within `window` seconds before it, so that a refresh
/// and a message to a new neighbor offer the whole RP set. A message that repeats a block of a kept one
/// (a whole group of one mode, or a piece with one of its RPs) replaces it, so that a sender that never
/// changes its tag does not make the list grow. A member of the zone's machine; writes nothing.
class LastBsm {
 public:
  static constexpr double window = 25;

  void bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm, double now);
  void clear() { kept_.clear(); }

  /// Oldest first. A copy, since sending or storing a message may change what is kept.
  std::vector<Kiv::Ptr<Packet::BootstrapMessage>> all() const;

  /// The groups of these messages that are still incomplete; null when there are none. clear() leaves them.
  Kiv::Ptr<PimBsrRxFragments> lastBsmFragments;

 private:
  struct Kept {
    Kiv::Ptr<Packet::BootstrapMessage> bsm;
    double accepted;
  };
  std::vector<Kept> kept_;
};

}  // namespace Routing::Pim::Bsr
