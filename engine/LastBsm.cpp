#include "engine/LastBsm.h"

#include <algorithm>

namespace Routing::Pim::Bsr {

namespace {

bool hasRps(const Packet::BootstrapMessage &bsm) {
  return std::ranges::any_of(bsm.groupData(), [](const auto &group) { return !group->rpList().empty(); });
}

bool repeats(const Packet::BootstrapGroupData &one, const Packet::BootstrapGroupData &other) {
  if (one.rpList().empty() || other.rpList().empty()) return false;
  if (one.prefix() != other.prefix() || one.bidir() != other.bidir()) return false;
  if (!one.isPiece() || !other.isPiece()) return true;
  return std::any_of(one.rpList().begin(), one.rpList().end(), [&](const auto &rp) {
    return std::any_of(other.rpList().begin(), other.rpList().end(),
                       [&](const auto &known) { return known.address == rp.address; });
  });
}

// Whether both carry a group of one mode whole, or pieces of it that share an RP. A zone's own block
// heads every fragment, so blocks without RPs tell nothing, unless neither message has anything else.
bool repeats(const Packet::BootstrapMessage &one, const Packet::BootstrapMessage &other) {
  for (const auto &block : one.groupData()) {
    for (const auto &known : other.groupData()) {
      if (repeats(*block, *known)) return true;
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
