#include "platform/pim/DecodedBlocks.h"

#include <algorithm>

namespace Routing::Pim::Packet {

Kiv::Ptr<BootstrapOptionalData> DecodedBlocks::find(std::span<const uint8_t> bytes) const {
  const auto isOf = [&](const Entry &entry) {
    return entry.blocks && entry.bytes.size() == bytes.size() &&
           std::equal(bytes.data(), bytes.data() + bytes.size(), entry.bytes.data());
  };
  const auto known = std::ranges::find_if(entry_, isOf);
  return known == entry_.end() ? nullptr : known->blocks;
}

void DecodedBlocks::add(std::span<const uint8_t> bytes, const Kiv::Ptr<BootstrapOptionalData> &blocks) {
  entry_[oldest_] = {{bytes.begin(), bytes.end()}, blocks};
  oldest_ = (oldest_ + 1) % entry_.size();
}

}  // namespace Routing::Pim::Packet
