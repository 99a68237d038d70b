/// What the BSRs have been told of this router's candidate RPs, and what they must be told to forget.
///
/// A BSR has one entry for an RP and a range, whichever priority it was told with, and one that is
/// bidirectional ignores sparse advertisements. So what was told is kept here for all advertisers of a
/// VRF, by zone, since a zone's next BSR may know it from the last one's messages. A goodbye is due for
/// a range that its RP does not serve any more in the zone, and for one that was told as bidirectional
/// and is sparse now. After it the range rests for a second, since a BSR that has both at one instant
/// would lose the range.
#pragma once

#include <compare>
#include <map>
#include <set>

#include "model/InternalStatus.h"
#include "model/Status.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

/// Owned by CrpAdvertisements. It reads the status and the zones, and keeps what it is told; it sends
/// nothing and arms no timer. Times are absolute, in seconds of the platform's clock.
class CrpGoodbyes {
 public:
  using Prefixes = std::set<Pax::IpGenPrefix>;
  /// An advertisement can count at most this many ranges; a receiver reads no more, and so no more are kept.
  static constexpr size_t mostCounted = 255;

  /// What the ranges of one message have in common.
  struct Heading {
    Pax::IpGenPrefix zone;
    RpPriority priority;
    bool bidir;
    auto operator<=>(const Heading &) const = default;
  };

  /// Three intervals.
  static CrpHoldTime holdTimeOf(const RpCandidate &crp) {
    return static_cast<CrpHoldTime>(3 * crp.interval().number());
  }

  CrpGoodbyes(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<const TrieGen> &bsrTrie)
      : bsrStatus_(bsrStatus), bsrTrie_(bsrTrie) {}

  /// The zone's BSR has been told of the ranges, as `crp` is now.
  void toldIs(const CrpOptions &options, const Pax::IpGenPrefix &zone, const Prefixes &prefixes,
              const RpCandidate &crp);
  /// The BSR may hold the ranges, though we did not tell it: from before a restart.
  void maybeToldIs(const CrpOptions &options, const Pax::IpGenPrefix &zone, const Prefixes &prefixes,
                   const RpCandidate &crp, double now);
  /// The advertiser with these options serves the range from now on: it is to say its goodbye.
  void servedBy(const CrpOptions &options, const Pax::IpGenPrefix &prefix);
  /// A goodbye has been tried. One that could not be sent stays due; the third failure is the last.
  void saidIs(const Pax::IpGenAddr &rpAddress, const Heading &heading, const Prefixes &prefixes, bool sent, double now);

  /// The goodbyes that are due for what this advertiser served last, or one that has ended. When the advertiser
  /// has `ended`, its priority serves nothing, whatever the status says.
  std::map<Heading, Prefixes> due(const CrpOptions &options, bool ended) const;
  /// The hold time with which the RP was told; 0 when nothing is known of it any more.
  CrpHoldTime holdTimeTold(const Pax::IpGenAddr &rpAddress) const;
  /// The RPs that have gone, and are still to be forgotten.
  std::set<Pax::IpGenAddr> gone() const;
  /// From when on the range may be advertised: 0 at any time, Orb::never while its goodbye is still to be sent.
  double restsUntil(const Pax::IpGenAddr &rpAddress, const Pax::IpGenPrefix &zone,
                    const Pax::IpGenPrefix &prefix) const;

 private:
  /// Entries of one RP stand together.
  struct Range {
    Pax::IpGenAddr rpAddress;
    Pax::IpGenPrefix zone;
    Pax::IpGenPrefix prefix;
    auto operator<=>(const Range &) const = default;
  };
  struct Told {
    RpPriority priority;  // of the advertiser that served it last
    bool bidir;
    CrpHoldTime holdTime;
    unsigned failures = 0;  // of its goodbye
  };

  static Told toldNow(const CrpOptions &options, const RpCandidate &crp);
  bool isDue(const Range &range, const Told &told, RpPriority ended = rpPriorityUnset) const;

  const Kiv::Ptr<const Status> bsrStatus_;
  const Kiv::Ptr<const TrieGen> bsrTrie_;
  std::map<Range, Told> told_;
  std::map<std::pair<Pax::IpGenAddr, Pax::IpGenPrefix>, double> restsUntil_;  // by RP and prefix
};

}  // namespace Routing::Pim::Bsr
