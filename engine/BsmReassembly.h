/// Collects the group blocks whose RPs arrive split over several Bootstrap messages of one fragment
/// tag (RFC 5059 section 4.1).
///
/// A group is collected per tag, zone, BSR and prefix until as many RPs have arrived as its first piece
/// announced; the store takes them from there. What stays incomplete is dropped by the first run of the
/// fragment timer at which it is `fragmentTimeout` old; the timer runs every `fragmentInterval` while
/// anything is open. Both are attributes of the engine. Nothing is written to any status.
///
/// More RPs than announced are fatal here, so no message may come that brings them: as the admission of the packet
/// port, it refuses a message whose pieces contradict what is open (unless `mixedFragments` lets it pass), and one
/// that opens more than `openBytes` allow.
#pragma once

#include "engine/LastBsm.h"
#include "platform/orb/TimerFor.h"
#include "platform/pim/BootstrapAdmission.h"

namespace Routing::Pim::Bsr {

class PimBsrSm;

/// Owned by the engine.
class BsmReassembly : public IO::BootstrapAdmission {
 public:
  explicit BsmReassembly(const PimBsrSm &sm);

  IO::BootstrapRefusal refusal(const Packet::BootstrapMessage &message) const override;
  /// Whether a piece announces another number of RPs than the open collection of its group, or would bring it more RPs
  /// than announced. The codec sees to it that a message has one piece of a group at most, with no more RPs than
  /// announced.
  bool contradicts(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm) const;

  /// Adds the RPs of a piece to the collection of its group. Returns the collection if it is complete now.
  Kiv::Ptr<PimBsrRxFragment> collect(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm,
                                     const Packet::BootstrapGroupData &piece);
  /// Ends the collection of a group that has been stored.
  void collectedGroupDone(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm,
                          const Pax::IpGenPrefix &prefix);
  /// Remembers an accepted message of the zone and what is still incomplete of it; the zone's collections of an
  /// earlier tag end.
  void doKeepBsm(const Pax::IpGenPrefix &zone, LastBsm &lastBsm, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);

  /// Remembers the message as the last of its zone, if its limit allows.
  void remember(LastBsm &lastBsm, const Kiv::Ptr<Packet::BootstrapMessage> &bsm) const;

  /// The open collections of a fragment tag, or null.
  Kiv::Ptr<PimBsrRxFragments> bsmRxFragments(uint16_t tag) const;
  void bsmRxFragmentsDel(uint16_t tag);
  void bsmRxFragmentsDelAll();

 private:
  const std::string &vrfName() const;
  Kiv::Ptr<PimBsrRxFragments> bsmRxFragmentsIs(uint16_t tag);
  void handleBsmRxFragments(uint16_t tag);
  void handleFragmentTimerExpiry();
  const PimBsrRxFragment *openGroup(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm,
                                    const Pax::IpGenPrefix &prefix) const;
  uint64_t bytesToOpen(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm) const;
  /// Takes a copy, since the caller's may go with the group.
  void groupDel(const Kiv::Ptr<PimBsrRxFragments> &fragments, PimBsrRxGroup group);
  void discardAged(const Kiv::Ptr<PimBsrRxFragments> &fragments);
  void discardRest(const Pax::IpGenPrefix &zone, const LastBsm &lastBsm);

  using KivFragmentTimer = Orb::TimerFor<&BsmReassembly::handleFragmentTimerExpiry>;
  const PimBsrSm &sm_;
  KivFragmentTimer fragmentTimer_;
  Kiv::Table<uint16_t, Kiv::Ptr<PimBsrRxFragments>> bsmRxFragments_;
  uint64_t openBytes_ = 0;  // of all open groups
};

}  // namespace Routing::Pim::Bsr
