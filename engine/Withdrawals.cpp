#include "engine/Withdrawals.h"

#include <algorithm>
#include <functional>

namespace Routing::Pim::Bsr {

void Withdrawals::add(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp, Mode mode) {
  size_ += waiting_[prefix].insert_or_assign(rp, Waiting{mode}).second;
}

void Withdrawals::remove(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) {
  const auto rps = waiting_.find(prefix);
  if (rps == waiting_.end()) return;
  size_ -= rps->second.erase(rp);
  if (rps->second.empty()) waiting_.erase(rps);
}

bool Withdrawals::contains(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) const {
  const auto rps = waiting_.find(prefix);
  return rps != waiting_.end() && rps->second.contains(rp);
}

std::vector<Pax::IpGenPrefix> Withdrawals::prefixes() const {
  std::vector<Pax::IpGenPrefix> prefixes;
  for (const auto &[prefix, rps] : waiting_) prefixes.push_back(prefix);
  return prefixes;
}

std::vector<Withdrawals::Rp> Withdrawals::toList(const Pax::IpGenPrefix &prefix) const {
  const auto rps = waiting_.find(prefix);
  if (rps == waiting_.end()) return {};
  std::vector<Rps::const_iterator> order;
  for (auto rp = rps->second.begin(); rp != rps->second.end(); ++rp) order.push_back(rp);
  std::ranges::stable_sort(order, std::greater(), [](const auto &rp) { return rp->second.listingsLeft; });
  order.resize(std::min(order.size(), mostListed));
  std::vector<Rp> result;
  result.reserve(order.size());
  for (const auto &rp : order) result.push_back({rp->first, rp->second.mode});
  return result;
}

void Withdrawals::listed() {
  for (auto &[prefix, rps] : waiting_) {
    for (const Rp &rp : toList(prefix)) {
      if (--rps.at(rp.address).listingsLeft == 0) size_ -= rps.erase(rp.address);
    }
  }
  std::erase_if(waiting_, [](const auto &entry) { return entry.second.empty(); });
}

}  // namespace Routing::Pim::Bsr
