/// Collects the group blocks whose RPs arrive split over several Bootstrap messages of one fragment
/// tag (RFC 5059 section 4.1).
///
/// A group is collected per tag and prefix until as many RPs have arrived as its first piece
/// announced; the store takes them from there. What stays incomplete is dropped by the first run of the
/// fragment timer at which it is `fragmentTimeout` old; the timer runs every `fragmentInterval` while
/// anything is open. Both are attributes of the engine. Nothing is written to any status.
#pragma once

#include "engine/LastBsm.h"
#include "platform/orb/TimerFor.h"

namespace Routing::Pim::Bsr {

class PimBsrSm;

/// Owned by the engine.
class BsmReassembly {
 public:
  explicit BsmReassembly(const PimBsrSm &sm);

  /// Adds the RPs of a piece to the collection of its group. Returns the collection if it is complete now.
  Kiv::Ptr<PimBsrRxFragment> collect(const Packet::BootstrapMessage &bsm, const Packet::BootstrapGroupData &piece);
  /// Ends the collection of a group that has been stored.
  void collectedGroupDone(uint16_t tag, const Pax::IpGenPrefix &prefix);
  /// Remembers an accepted message and what is still incomplete of it; collections of an earlier tag end.
  void doKeepBsm(LastBsm &lastBsm, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);

  /// The open collections of a fragment tag, or null.
  Kiv::Ptr<PimBsrRxFragments> bsmRxFragments(uint16_t tag) const;
  void bsmRxFragmentsDel(uint16_t tag);
  void bsmRxFragmentsDelAll();

 private:
  const std::string &vrfName() const;
  Kiv::Ptr<PimBsrRxFragments> bsmRxFragmentsIs(uint16_t tag);
  void handleBsmRxFragments(uint16_t tag);
  void handleFragmentTimerExpiry();
  void discardAged(PimBsrRxFragments &fragments) const;

  using KivFragmentTimer = Orb::TimerFor<&BsmReassembly::handleFragmentTimerExpiry>;
  const PimBsrSm &sm_;
  KivFragmentTimer fragmentTimer_;
  Kiv::Table<uint16_t, Kiv::Ptr<PimBsrRxFragments>> bsmRxFragments_;
};

}  // namespace Routing::Pim::Bsr
