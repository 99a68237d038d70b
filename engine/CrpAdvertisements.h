/// Sends the advertisements of this router's candidate RPs (RFC 5059 section 3.2), and their goodbyes.
#pragma once

#include "engine/CrpGoodbyes.h"
#include "engine/PimBsrSm.h"
#include "platform/orb/TimerFor.h"

namespace Routing::Pim::Bsr {

/// Owned by CandidateRps, one for all advertisers of a VRF. It outlives them, so that a goodbye which could
/// not be sent is tried again, and goes itself without saying any. It writes what it sends to
/// PimCrpMsgStatus, and no other status.
class CrpAdvertisements {
 public:
  using Prefixes = CrpGoodbyes::Prefixes;

  explicit CrpAdvertisements(const PimBsrSm &sm)
      : sm_(sm),
        bsrStatus_(sm.bsrStatus()),
        goodbyes_(bsrStatus_, sm.bsrTrie()),
        goodbyeTimer_(sm.timerWheel(), *this) {}

  /// Tells the zone's BSR, if there is one, of the ranges. Whether a message was made.
  bool advertise(const CrpOptions &options, const Pax::IpGenPrefix &zone, const Prefixes &prefixes,
                 const RpCandidate &crp);
  /// Says the goodbyes that are due for what this advertiser served last, or one that has `ended`. Whether a
  /// message was made.
  ///
  /// A goodbye that could not be sent is due again with the next call. The third failure is the last, and so
  /// does not outlive the hold time: where the RP itself has gone, calls follow by the old interval.
  bool withdraw(const CrpOptions &options, bool ended = false);
  /// What the BSRs know and must forget.
  CrpGoodbyes &goodbyes() { return goodbyes_; }

 private:
  using Heading = CrpGoodbyes::Heading;

  void handleGoodbyeTimerExpiry();
  const std::string &vrfName() const { return bsrStatus_->name(); }
  bool sayGoodbye(const Pax::IpGenAddr &rpAddress, const Heading &heading, const Prefixes &prefixes);
  void doRetryLater(const Pax::IpGenAddr &rpAddress);
  Kiv::Ptr<const ElectedBsrStatus> bsrOf(const Pax::IpGenPrefix &zone) const;
  bool send(const Pax::IpGenAddr &rpAddress, const Heading &heading, const Prefixes &prefixes, CrpHoldTime holdTime);
  uint8_t groupFlags(const Pax::IpGenPrefix &zone, bool bidir) const;

  const PimBsrSm &sm_;
  const Kiv::Ptr<const Status> bsrStatus_;
  CrpGoodbyes goodbyes_;
  Orb::TimerFor<&CrpAdvertisements::handleGoodbyeTimerExpiry> goodbyeTimer_;  // of RPs that have gone
};

}  // namespace Routing::Pim::Bsr
