/// How the elected BSR of a zone collects the candidate RPs that advertise themselves (RFC 5059
/// section 3.3).
#pragma once

#include "engine/BootstrapTimer.h"
#include "engine/Withdrawals.h"
#include "platform/pim/Packet.h"

namespace Routing::Pim::Bsr {

/// Owned by the zone's candidate machine, which asks it only while it is elected. It writes the zone's
/// RP set in the status, and notes in `withdrawals` what others have to be told to forget. It sends
/// nothing: where the set has changed it pulls the bootstrap timer.
class CrpCollection {
 public:
  /// All outlive it.
  CrpCollection(const PimBsrSm &bsrSm, const Pax::IpGenPrefix &zone, const BsrCandidate &candidate,
                BootstrapTimer &bsTimer, Withdrawals &withdrawals)
      : bsrSm_(bsrSm), zone_(zone), candidate_(candidate), bsTimer_(bsTimer), withdrawals_(withdrawals) {}

  /// Merges one advertised range into the zone's RP set. A bidirectional RP wins over a sparse one.
  /// Hold time 0 withdraws the RP.
  void add(const Packet::CrpGroup &group, const Pax::IpGenAddr &rpAddress, RpPriority priority, CrpHoldTime holdTime);
  /// Gives up the ranges within a zone inside ours: they are advertised to its own BSR from now on.
  void giveUp(const Pax::IpGenPrefix &inner);

 private:
  const std::string &vrfName() const { return bsrSm_.vrfName(); }
  Kiv::Ptr<RpCandidateSet> setToAddTo(const Pax::IpGenPrefix &prefix);
  /// Null where no more is collected.
  Kiv::Ptr<Pim::RpCandidate> newRp(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rpAddress);
  void withdraw(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rpAddress, Pim::RpCandidate &rp);
  void refresh(const Packet::CrpGroup &group, Pim::RpCandidate &rp, RpPriority priority, CrpHoldTime holdTime);

  const PimBsrSm &bsrSm_;
  const Pax::IpGenPrefix &zone_;
  const BsrCandidate &candidate_;
  BootstrapTimer &bsTimer_;
  Withdrawals &withdrawals_;
};

}  // namespace Routing::Pim::Bsr
