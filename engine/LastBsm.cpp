#include "engine/LastBsm.h"

#include <algorithm>
#include <bit>

namespace Routing::Pim::Bsr {

namespace {

bool hasRps(const Packet::BootstrapMessage &bsm) {
  return std::ranges::any_of(bsm.groupData(), [](const auto &group) { return !group->rpList().empty(); });
}

// Of one prefix, both with RPs.
bool repeats(const Packet::BootstrapGroupData &one, const Packet::BootstrapGroupData &other) {
  if (one.bidir() != other.bidir()) return false;
  if (!one.isPiece() || !other.isPiece()) return true;
  return std::any_of(one.rpList().begin(), one.rpList().end(), [&](const auto &rp) {
    return std::any_of(other.rpList().begin(), other.rpList().end(),
                       [&](const auto &known) { return known.address == rp.address; });
  });
}

uint64_t bytesOf(const Packet::BootstrapMessage &bsm) {
  uint64_t bytes = 128 + sizeof(bsm) + sizeof(*bsm.optionalData());
  for (const auto &group : bsm.groupData()) {
    bytes += 64 + sizeof(*group) + group->rpList().size() * sizeof(Packet::BootstrapRpData);
  }
  return bytes;
}

}  // namespace

bool LastBsm::bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm, double now, uint64_t mostBytes) {
  dropAged(now);
  if (count_ > 0) {
    const Packet::BootstrapMessage &before = *kept_[oldest_].bsm;
    if (before.fragmentTag() != bsm->fragmentTag() || before.bsrAddress() != bsm->bsrAddress()) clear();
  }
  dropRivals(*bsm);
  const uint64_t bytes = bytesOf(*bsm);
  if (count_ > 0 && bytes_ + bytes > mostBytes) return false;
  if (count_ == 0) clear();
  keep({bsm, now, bytes});
  return true;
}

void LastBsm::clear() {
  kept_.clear();
  blocks_.clear();
  std::ranges::fill(buckets_, none);
  oldest_ = count_ = 0;
  bytes_ = 0;
  withoutRps_ = none;
}

std::vector<Kiv::Ptr<Packet::BootstrapMessage>> LastBsm::all() const {
  std::vector<Kiv::Ptr<Packet::BootstrapMessage>> result;
  for (const Kept &kept : kept_) {
    if (kept.bsm) result.push_back(kept.bsm);
  }
  return result;
}

template <class Visit>
void LastBsm::eachOf(const Pax::IpGenPrefix &prefix, const Visit &visit) const {
  if (buckets_.empty()) return;
  for (size_t at = buckets_[std::hash<Pax::IpGenPrefix>()(prefix) & mask()]; at != none; at = blocks_[at].next) {
    const Block &entry = blocks_[at];
    if (kept_[entry.kept].bsm && entry.block->prefix() == prefix) visit(*entry.block, entry.kept);
  }
}

void LastBsm::keep(Kept kept) {
  bytes_ += kept.bytes;
  ++count_;
  kept_.push_back(std::move(kept));
  index(kept_.size() - 1);
}

void LastBsm::index(size_t kept) {
  const Packet::BootstrapMessage &bsm = *kept_[kept].bsm;
  if (!hasRps(bsm)) withoutRps_ = kept;
  if (blocks_.size() + bsm.groupData().size() > buckets_.size()) {
    buckets_.assign(std::bit_ceil(2 * (blocks_.size() + bsm.groupData().size())), none);
    for (size_t at = 0; at < blocks_.size(); ++at) {
      // One of a dropped message stays out of the lists.
      if (kept_[blocks_[at].kept].bsm) blocks_[at].next = std::exchange(bucket(blocks_[at].block->prefix()), at);
    }
  }
  for (const auto &group : bsm.groupData()) {
    if (group->rpList().empty()) continue;
    size_t &first = bucket(group->prefix());
    blocks_.push_back({group.get(), kept, first});
    first = blocks_.size() - 1;
  }
}

void LastBsm::drop(size_t kept) {
  if (!kept_[kept].bsm) return;
  kept_[kept].bsm = nullptr;
  bytes_ -= kept_[kept].bytes;
  --count_;
}

void LastBsm::dropAged(double now) {
  for (; oldest_ < kept_.size(); ++oldest_) {
    if (kept_[oldest_].bsm && now - kept_[oldest_].accepted <= window) break;
    drop(oldest_);
  }
  constexpr size_t slack = 64;
  if (kept_.size() > 2 * count_ + slack) rebuild();
}

// Without the dropped ones. It takes as many drops as are kept before the next time.
void LastBsm::rebuild() {
  std::erase_if(kept_, [](const Kept &kept) { return !kept.bsm; });
  oldest_ = 0;
  withoutRps_ = none;
  blocks_.clear();
  std::ranges::fill(buckets_, none);
  for (size_t kept = 0; kept < kept_.size(); ++kept) index(kept);
}

// A zone's own block heads every fragment, so blocks without RPs tell nothing, unless neither message has anything
// else.
void LastBsm::dropRivals(const Packet::BootstrapMessage &bsm) {
  for (const auto &group : bsm.groupData()) {
    if (!group->rpList().empty()) dropRivals(*group);
  }
  if (withoutRps_ != none && !hasRps(bsm)) drop(withoutRps_);
}

void LastBsm::dropRivals(const Packet::BootstrapGroupData &block) {
  size_t rps = block.rpList().size();
  bool isOther = false;
  eachOf(block.prefix(), [&](const Packet::BootstrapGroupData &known, size_t kept) {
    if (repeats(block, known)) return drop(kept);
    if (!block.isPiece() || !known.isPiece()) return;
    isOther = isOther || known.rpCount() != block.rpCount();
    rps += known.rpList().size();
  });
  if (!isOther && (!block.isPiece() || rps <= block.rpCount())) return;
  eachOf(block.prefix(), [&](const Packet::BootstrapGroupData &known, size_t kept) {
    if (known.isPiece()) drop(kept);
  });
}

}  // namespace Routing::Pim::Bsr
