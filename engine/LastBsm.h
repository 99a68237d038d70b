/// The last accepted Bootstrap message of a zone, with its other fragments.
#pragma once

#include <vector>

#include "engine/RxFragments.h"
#include "platform/pim/Packet.h"

namespace Routing::Pim::Bsr {

/// A fragmented message arrives as several accepted messages with one tag. The newest message is kept,
/// and those of its tag and BSR that were accepted within `window` seconds before it, so that a refresh
/// and a message to a new neighbor offer the whole RP set. A message replaces those that it repeats or contradicts:
/// that have a whole group of it, in the same mode, or pieces of such a group with one of its RPs, with another number
/// of RPs, or with more of them than announced. So a sender that never changes its tag does not make the list grow, and
/// what is kept can be told again. A member of the zone's machine; writes nothing.
///
/// The blocks of the messages are found by their prefix, so a message costs no more for others that are kept.
class LastBsm {
 public:
  static constexpr double window = 25;

  /// False if the message was not kept, since it and those before it would take more than `mostBytes` of memory. What
  /// is there stays: the fragments that come first are as good as those that come last, and groups in pieces are not
  /// torn apart. One message alone always fits.
  bool bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm, double now, uint64_t mostBytes);
  void clear();

  /// Oldest first. A copy, since sending or storing a message may change what is kept.
  std::vector<Kiv::Ptr<Packet::BootstrapMessage>> all() const;

  /// The groups of these messages that are still incomplete; null when there are none. clear() leaves them.
  Kiv::Ptr<PimBsrRxFragments> lastBsmFragments;

 private:
  struct Kept {
    Kiv::Ptr<Packet::BootstrapMessage> bsm;  // null: it has been dropped
    double accepted;
    uint64_t bytes;
  };
  /// A block with RPs of a kept message, in the list of those whose prefixes share a bucket.
  struct Block {
    const Packet::BootstrapGroupData *block;
    size_t kept;
    size_t next;
  };
  static constexpr size_t none = SIZE_MAX;

  /// Calls `visit` with each block of this prefix that is kept, and the place of its message.
  template <class Visit>
  void eachOf(const Pax::IpGenPrefix &prefix, const Visit &visit) const;
  size_t &bucket(const Pax::IpGenPrefix &prefix) { return buckets_[std::hash<Pax::IpGenPrefix>()(prefix) & mask()]; }
  size_t mask() const { return buckets_.size() - 1; }
  void keep(Kept kept);
  void drop(size_t kept);
  void dropAged(double now);
  void dropRivals(const Packet::BootstrapMessage &bsm);
  void dropRivals(const Packet::BootstrapGroupData &block);
  void index(size_t kept);
  void rebuild();

  // Cleared and filled anew with each message, so their memory is kept.
  std::vector<Kept> kept_;  // oldest first
  size_t oldest_ = 0;       // before it all have been dropped
  size_t count_ = 0;        // those that have not
  uint64_t bytes_ = 0;
  size_t withoutRps_ = none;
  std::vector<Block> blocks_;
  std::vector<size_t> buckets_;
};

}  // namespace Routing::Pim::Bsr
