#include "engine/LastBsm.h"

#include <algorithm>

namespace Routing::Pim::Bsr {

namespace {

bool hasRps(const Packet::BootstrapMessage &bsm) {
  return std::ranges::any_of(bsm.groupData(), [](const auto &group) { return !group->rpList().empty(); });
}

/// Whether both carry a piece of one group that begins with the same RP. A zone's own block heads
/// every fragment, so blocks without RPs say nothing, unless neither message has anything else.
bool repeats(const Packet::BootstrapMessage &one, const Packet::BootstrapMessage &other) {
  for (const auto &block : one.groupData()) {
    if (block->rpList().empty()) continue;
    for (const auto &known : other.groupData()) {
      if (!known->rpList().empty() && known->prefix() == block->prefix() &&
          known->rpList().front().address == block->rpList().front().address) {
        return true;
      }
    }
  }
  return !hasRps(one) && !hasRps(other);
}

}  // namespace

void LastBsm::bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm, double now) {
  std::erase_if(kept_, [&](const Kept &kept) {
    return kept.bsm->fragmentTag() != bsm->fragmentTag() || kept.bsm->bsrAddress() != bsm->bsrAddress() ||
           now - kept.accepted > window || repeats(*bsm, *kept.bsm);
  });
  kept_.push_back({bsm, now});
}

std::vector<Kiv::Ptr<Packet::BootstrapMessage>> LastBsm::all() const {
  std::vector<Kiv::Ptr<Packet::BootstrapMessage>> result;
  for (const Kept &kept : kept_) result.push_back(kept.bsm);
  return result;
}

}  // namespace Routing::Pim::Bsr
