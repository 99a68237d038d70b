/// Group blocks that were decoded lately, for many codecs that read copies of the same messages.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/pim/Packet.h"

namespace Routing::Pim::Packet {

/// A simulated network has one for all its routers, of one address family: each of them receives what its BSR sent,
/// and need neither decode it again nor keep a copy of its own. A real router has no use for it.
class DecodedBlocks {
 public:
  /// The blocks whose wire form is `bytes`, or null if they are none of the last.
  Kiv::Ptr<BootstrapOptionalData> find(std::span<const uint8_t> bytes) const;
  /// They were decoded from `bytes`, without error, and will not be changed.
  void add(std::span<const uint8_t> bytes, const Kiv::Ptr<BootstrapOptionalData> &blocks);

 private:
  struct Entry {
    std::vector<uint8_t> bytes;
    Kiv::Ptr<BootstrapOptionalData> blocks;
  };
  std::array<Entry, 16> entry_;
  size_t oldest_ = 0;
};

}  // namespace Routing::Pim::Packet
