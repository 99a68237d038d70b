/// A scope zone as the rows about it are made from.
#pragma once

#include "engine/BsrCandidateSm.h"
#include "engine/BsrNonCandidateSm.h"
#include "io/HeardBsrs.h"
#include "view/Json.h"
#include "view/VrfView.h"

namespace Routing::Pim::Bsr {

/// The zone as it is now; made for one answer, and read only. Times are on the clock of the status, 0 where there is
/// none.
struct ZoneView {
  ZoneView(const VrfView &view, const Pax::IpGenPrefix &zone);

  Pax::IpGenPrefix zone;
  Kiv::Ptr<const ElectedBsrStatus> bsr;         ///< null while there is none
  Kiv::Ptr<const BsrCandidate> candidate;       ///< null where this router is no candidate
  const BsrCandidateSm *candidateSm = nullptr;  ///< null while it does not run
  const BsrNonCandidateSm *nonCandidateSm = nullptr;
  const HeardBsrs *heard = nullptr;  ///< null if no message was accepted

  /// Whether anything is known of it.
  bool isKnown() const { return bsr || candidate || nonCandidateSm || heard; }
  /// Whether this router is the BSR.
  bool isOwn() const { return candidateSm && candidate->elected(); }
  /// Null in a VRF that does not run.
  Rows state() const;
  /// When this router sends its next message as the BSR, or takes over.
  double nextBsm() const;
  /// When the BSR, whoever it is, is lost if nobody hears of it any more.
  double expires() const;
  /// The BSR's last message, if it came from a neighbor; null if it did not.
  const HeardBsr *lastHeard() const;
  /// When the BSR's last message was accepted or, where this router is the BSR, sent.
  double lastBsmAt() const;

 private:
  const bool runs_;
};

/// The zones behind `last` that have anything to show, sorted: the global one always, others while they have a machine,
/// or a BSR known from when the VRF ran.
std::vector<Pax::IpGenPrefix> zonesBehind(const VrfView &view, const Pax::IpGenPrefix &last);

}  // namespace Routing::Pim::Bsr
