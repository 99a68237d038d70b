#include "platform/pim/RpHash.h"

#include <algorithm>

namespace Routing::Pim {

namespace {

// An IPv6 address as the XOR of its four words.
uint32_t fold(const Pax::IpGenAddr &address) {
  const uint64_t halves = address.high() ^ address.low();
  return static_cast<uint32_t>(halves >> 32 ^ halves);
}

struct Match {
  Pax::IpGenPrefix prefix;
  Kiv::Ptr<RpCandidateSet> set;
};

Match longestMatch(const RpCandidateStatus &status, const Pax::IpGenAddr &group) {
  for (int length = Pax::addressBits(group.af()); length >= 0; --length) {
    const Pax::IpGenPrefix prefix(group, static_cast<uint8_t>(length));
    if (const auto set = status.crpSet(prefix)) return {prefix, set};
  }
  return {};
}

bool isBetter(const RpHashSm::Candidate &left, const RpHashSm::Candidate &right) {
  if (left.priority != right.priority) return left.priority < right.priority;
  if (left.hash != right.hash) return left.hash > right.hash;
  return left.rp > right.rp;
}

}  // namespace

uint32_t rpHash(const Pax::IpGenAddr &group, uint8_t hashMaskLen, const Pax::IpGenAddr &rp) {
  constexpr uint32_t factor = 1103515245, addend = 12345, modulus = uint32_t{1} << 31;
  const uint32_t masked = fold(Pax::IpGenPrefix(group, hashMaskLen).address());
  return (factor * ((factor * masked + addend) ^ fold(rp)) + addend) % modulus;
}

std::optional<RpHashSm::Answer> RpHashSm::rpOf(const Pax::IpGenAddr &group) const {
  const Match match = longestMatch(*rpCandidateStatus_, group);
  if (!match.set) return std::nullopt;
  Answer answer{match.prefix, {}};
  for (const auto &[address, rp] : match.set->rp()) {
    if (rp->pimMode() != mode_) continue;
    answer.candidates.push_back({address, rp->priority(), rpHash(group, rp->hashMaskLen().number(), address)});
  }
  if (answer.candidates.empty()) return std::nullopt;
  std::sort(answer.candidates.begin(), answer.candidates.end(), isBetter);
  return answer;
}

}  // namespace Routing::Pim
