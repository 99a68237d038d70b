/// The last accepted Bootstrap message of a zone, with the other fragments of it.
#pragma once

#include <vector>

#include "platform/pim/Packet.h"

namespace Routing::Pim::Bsr {

/// A message in fragments is several accepted messages with one tag. Kept are the newest message
/// and those of the same tag and BSR that were accepted within `window` seconds before it, so that
/// a refresh and a message to a new neighbour offer the whole RP set. A message that repeats a block
/// of a kept one (a whole group of one mode, or a piece with an RP of it) replaces it, so that a
/// sender with a constant tag makes nothing grow.
class LastBsm {
 public:
  static constexpr double window = 25;

  void bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm, double now);
  void clear() { kept_.clear(); }

  /// A copy of the list, oldest first: what is done with the messages may change what is kept.
  std::vector<Kiv::Ptr<Packet::BootstrapMessage>> all() const;

 private:
  struct Kept {
    Kiv::Ptr<Packet::BootstrapMessage> bsm;
    double accepted;
  };
  std::vector<Kept> kept_;
};

}  // namespace Routing::Pim::Bsr
