/// Sends the advertisements of this router's candidate RPs, and remembers what the BSRs were told, so
/// that it is withdrawn when it does not hold any more.
///
/// A BSR has one entry for an RP and a range, whichever priority it was told with, and one that is
/// bidirectional ignores sparse advertisements. So what was told is kept here for all advertisers of a
/// VRF, by zone, since a zone's next BSR may know it from the last one's messages. A goodbye is due for a range
/// that its RP does not serve any more in the zone, and for one that was told as bidirectional and is
/// sparse now. After it the range rests for a second, since a BSR that has both at one instant would
/// lose the range.
#pragma once

#include <compare>
#include <map>
#include <set>

#include "model/InternalStatus.h"
#include "model/Status.h"
#include "platform/orb/TimerWheel.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

/// Owned by the engine; it outlives the advertisers, and goes without saying goodbye.
class CrpAdvertisements {
 public:
  using Prefixes = std::set<Pax::IpGenPrefix>;
  /// So many ranges an advertisement can count; a receiver reads no more.
  static constexpr size_t mostCounted = 255;

  CrpAdvertisements(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<const TrieGen> &bsrTrie,
                    const Kiv::Ptr<Orb::TimerWheel> &timerWheel, const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus);
  CrpAdvertisements(const CrpAdvertisements &) = delete;
  CrpAdvertisements &operator=(const CrpAdvertisements &) = delete;

  /// Tells the zone's BSR, if there is one, of the ranges. Whether a message was made.
  bool advertise(const CrpOptions &options, const Pax::IpGenPrefix &zone, const Prefixes &prefixes,
                 const RpCandidate &crp);
  /// Says the goodbyes that are due for what this advertiser served last, or one that has ended. When the advertiser
  /// has `ended`, its priority serves nothing, whatever the status says. Whether a message was made.
  ///
  /// A goodbye that could not be sent is due again with the next call. The third failure is the last, and so
  /// does not outlive the hold time: where the RP itself has gone, calls follow by the old interval.
  bool withdraw(const CrpOptions &options, bool ended = false);
  /// The BSR may hold the ranges, though we did not tell it: from before a restart.
  void toldIs(const CrpOptions &options, const Pax::IpGenPrefix &zone, const Prefixes &prefixes,
              const RpCandidate &crp);
  /// The advertiser with these options serves the range from now on: it is to say its goodbye.
  void servedBy(const CrpOptions &options, const Pax::IpGenPrefix &prefix);
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
  /// What the ranges of one message have in common.
  struct Heading {
    Pax::IpGenPrefix zone;
    RpPriority priority;
    bool bidir;
    auto operator<=>(const Heading &) const = default;
  };
  class KivGoodbyeTimer : public Orb::Timer {
   public:
    KivGoodbyeTimer(CrpAdvertisements &sm, const Kiv::Ptr<Orb::TimerWheel> &wheel) : Timer(wheel), sm_(sm) {}
    void onTime() override { sm_.handleGoodbyeTimerExpiry(); }

   private:
    CrpAdvertisements &sm_;
  };

  const std::string &vrfName() const { return bsrStatus_->name(); }
  static Told toldNow(const CrpOptions &options, const RpCandidate &crp);
  void handleGoodbyeTimerExpiry();
  bool isDue(const Range &range, const Told &told, RpPriority ended = rpPriorityUnset) const;
  bool isUsed(const CrpOptions &options) const;
  bool sayGoodbye(const Pax::IpGenAddr &rpAddress, const Heading &heading, const Prefixes &prefixes);
  void doRetryLater(const Pax::IpGenAddr &rpAddress);
  Kiv::Ptr<const ElectedBsrStatus> bsrOf(const Pax::IpGenPrefix &zone) const;
  bool send(const Pax::IpGenAddr &rpAddress, const Heading &heading, const Prefixes &prefixes, CrpHoldTime holdTime);
  uint8_t groupFlags(const Pax::IpGenPrefix &zone, bool bidir) const;

  const Kiv::Ptr<const Status> bsrStatus_;
  const Kiv::Ptr<const TrieGen> bsrTrie_;
  const Orb::TimerWheel &timerWheel_;
  const Kiv::Ptr<PimCrpMsgStatus> crpMsgStatus_;
  std::map<Range, Told> told_;
  std::map<std::pair<Pax::IpGenAddr, Pax::IpGenPrefix>, double> restsUntil_;  // by RP and prefix
  KivGoodbyeTimer goodbyeTimer_;                                              // of RPs that are gone
};

}  // namespace Routing::Pim::Bsr
