/// What the engine holds of other routers' making, against the limits in force.
///
/// The RPs and ranges are counted by the reactors that follow the RP sets (RpSetMirror.h), so the counts are right
/// whoever stored them and however they go. Whoever is about to create something asks first; what is known already is
/// never asked about. A refusal is counted by its limit in the counters of the VRF, and traced at most once a minute.
#pragma once

#include <array>
#include <set>
#include <unordered_map>
#include <utility>

#include "model/Status.h"
#include "platform/pim/Packet.h"

namespace Routing::Pim::Bsr {

class PimBsrSm;

/// Owned by the engine. What it does takes no longer for what is held (but for the logarithm of one RP's ranges).
/// Writes the counters and nothing else.
class Capacity {
 public:
  explicit Capacity(const PimBsrSm &sm) : sm_(sm) {}

  // Counting. A zone's set of its own prefix comes with the zone and is no range here.
  void rangeInc(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) { ranges_ += prefix != zone; }
  void rangeDec(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) { ranges_ -= prefix != zone; }
  /// An RP counts as collected, to its end, if we are the BSR of its zone when it comes.
  void rpInc(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp);
  void rpDec(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp);

  // Asking, and counting a refusal.

  /// A zone in which we are no candidate. The global one, and those of our own borders, always fit.
  bool admitsZone(const Pax::IpGenPrefix &zone);
  /// A zone's set for learned RPs. One with an RP of ours always fits.
  bool admitsSet(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix,
                 const Packet::BootstrapGroupData::RpList &list);
  /// A learned RP in such a set. Our own always fit.
  bool admitsRp(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) {
    return learned_ < limits().rps || isOwn(prefix, rp) || refuse(rps);
  }
  /// An RP to collect in `zone`, where `withdrawn` RPs still take room until everybody has been told of them.
  bool admitsCollected(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp,
                       size_t withdrawn);
  /// What the last messages of a zone may take. All zones together get 64 times the limit of one (and a logarithm more,
  /// while the first ones have not aged), so what zones of others' making take does not grow with their number.
  uint64_t keptBytesOfZone() const;
  /// No room was left for one more of them.
  void keptBytesExceeded() { refuse(keptBytes); }
  /// Nor for groups in pieces.
  void openBytesExceeded() { refuse(openBytes); }

 private:
  enum Limit : uint8_t { rps, zones, ranges, collectedRps, rangesPerRp, keptBytes, openBytes, count };

  const std::string &vrfName() const;
  const Limits &limits() const;
  bool isOwn(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) const;
  /// Always false.
  bool refuse(Limit limit);

  const PimBsrSm &sm_;
  size_t ranges_ = 0;
  size_t learned_ = 0;
  size_t collected_ = 0;
  /// By RP, the zones and ranges in which it is collected. Kept here since most RPs are learned, and are many.
  std::unordered_map<Pax::IpGenAddr, std::set<std::pair<Pax::IpGenPrefix, Pax::IpGenPrefix>>> collectedRanges_;
  std::array<double, Limit::count> quietUntil_{};
};

}  // namespace Routing::Pim::Bsr
