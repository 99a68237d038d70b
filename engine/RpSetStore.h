/// The RP set of each zone, as Bootstrap messages list it and their own hold times end it (RFC 5059
/// section 3.1.3).
///
/// Writes `Status::crpStatus`, and removes from it what has become empty: the set of a prefix that has
/// lost its last RP, and the zone's entry if that was its last set and the zone has no BSR. A scoped
/// zone's own prefix stays, empty, while the zone has a BSR, so that its groups do not fall back to the
/// global zone. The store never publishes: the reactors that follow the status do.
#pragma once

#include "engine/PimBsrSm.h"
#include "model/Status.h"
#include "platform/pim/Packet.h"

namespace Routing::Pim::Bsr {

/// Owned by the engine.
class RpSetStore {
 public:
  explicit RpSetStore(const PimBsrSm &sm) : sm_(sm), bsrStatus_(sm.bsrStatus()) {}
  RpSetStore(const RpSetStore &) = delete;
  RpSetStore &operator=(const RpSetStore &) = delete;

  /// Stores what one accepted message, or fragment, lists for the zone. A refresh creates nothing.
  void storeRpSet(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm, bool refresh);
  /// Makes sure that a scoped zone has a set, if only an empty one, for its own prefix.
  void keepOwnSet(const Pax::IpGenPrefix &zone);
  /// Whether any RP of the zone is known.
  bool hasRps(const Pax::IpGenPrefix &zone) const;
  /// Gives every RP of the zone the hash mask length that we announce.
  void hashMaskLenIs(const Pax::IpGenPrefix &zone, uint32_t length) const;
  /// Deletes every RP set of the zone.
  void clearRpSet(const Pax::IpGenPrefix &zone);
  /// Deletes an RP, and what has become empty with it. Takes copies, since the caller may go with the RP.
  void rpDel(Pax::IpGenPrefix zone, Pax::IpGenPrefix prefix, Pax::IpGenAddr address);
  /// Removes the zone's set of `prefix` and the zone's entry if they have become empty. To be
  /// called after deleting an RP or a BSR.
  void removeEmptySet(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix);

 private:
  struct Store;
  const std::string &vrfName() const { return bsrStatus_->name(); }
  bool storeGroup(const Store &store, const Packet::BootstrapGroupData &group);
  bool storeRp(const Store &store, RpCandidateSet &set, const Packet::BootstrapGroupData &group,
               const Packet::BootstrapRpData &data) const;
  Kiv::Ptr<RpCandidateSet> setToStoreInto(const Store &store, const Pax::IpGenPrefix &prefix,
                                          const Packet::BootstrapGroupData::RpList &rps);

  const PimBsrSm &sm_;
  const Kiv::Ptr<Status> bsrStatus_;
  Packet::BootstrapGroupData::RpList collectedRps_;  // of a completed group; kept for its memory
};

}  // namespace Routing::Pim::Bsr
