#include "engine/BsmQueue.h"

#include <algorithm>

namespace Routing::Pim::Bsr {

bool BsmQueue::add(const Pax::IpGenPrefix &zone, Entry entry) {
  auto *present = zone_.find(zone);
  const auto isSame = [&](const Entry &other) {
    return entry.isTriggered && other.isTriggered && !other.fragments && other.bsm == entry.bsm;
  };
  if (present && std::ranges::any_of(**present, isSame)) return true;
  if (size_ == most) return false;
  Entries &entries = present ? **present : *zone_.insert(zone, std::make_unique<Entries>());
  entries.push_back(std::move(entry));
  ++size_;
  return true;
}

void BsmQueue::olderDel(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm) {
  const auto *entries = zone_.find(zone);
  if (!entries) return;
  size_ -= std::erase_if(**entries, [&](const Entry &entry) {
    return entry.bsm->fragmentTag() != bsm.fragmentTag() || entry.bsm->bsrAddress() != bsm.bsrAddress();
  });
  if ((*entries)->empty()) zone_.erase(zone);
}

void BsmQueue::zoneDel(const Pax::IpGenPrefix &zone) {
  if (const auto gone = zone_.erase(zone)) size_ -= gone->size();
}

void BsmQueue::clear() {
  for (const Pax::IpGenPrefix &zone : zone_.keys()) zoneDel(zone);
}

void BsmQueue::pop(const Pax::IpGenPrefix &zone) {
  Entries &entries = **zone_.find(zone);
  entries.pop_front();
  --size_;
  if (entries.empty()) zone_.erase(zone);
}

}  // namespace Routing::Pim::Bsr
