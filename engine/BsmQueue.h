/// Bootstrap messages that wait to go out of one interface.
///
/// What lists many RPs goes out in many messages: the fragments of one message, or those that a new neighbor is
/// sent. A receiver that gets them all at once loses those that its socket has no room for. So a burst goes out at
/// once, well below the receive buffer of the packet channel, and the rest at a rate that a router keeps up with.
///
/// Messages of one zone go out in the order in which they were to be sent. A newer message of the zone replaces
/// what still waits of an older one. The records are shared with whoever keeps them.
#pragma once

#include <deque>
#include <memory>

#include "engine/TxFragments.h"
#include "platform/kiv/Table.h"
#include "platform/orb/TokenBucket.h"

namespace Routing::Pim::Bsr {

/// Owned by the sender, which sends what waits; this only keeps it.
class BsmQueue {
 public:
  static constexpr uint32_t burst = 128;          ///< messages; the kernel charges 2304 bytes for one of 1500
  static constexpr double interval = 1.0 / 1024;  ///< seconds between two more
  static constexpr size_t most = 4096;            ///< messages that wait

  /// One message, which may have been cut into fragments.
  struct Entry {
    Kiv::Ptr<Packet::BootstrapMessage> bsm;
    bool isTriggered = false;                                      ///< for a new neighbor
    bool forward = true;                                           ///< the bit to send it with, if it is triggered
    std::shared_ptr<const PimBsrTxFragments> fragments = nullptr;  ///< null: not begun
    size_t next = 0;                                               ///< the first fragment that is not out
  };
  using Entries = std::deque<Entry>;

  bool isEmpty() const { return size_ == 0; }
  bool holds(const Pax::IpGenPrefix &zone) const { return zone_.contains(zone); }
  /// Puts the entry behind the others of its zone; one that waits already is not added again. False when the queue
  /// is full.
  bool add(const Pax::IpGenPrefix &zone, Entry entry);
  /// Drops what waits of messages of the zone that `bsm` is not a fragment of.
  void olderDel(const Pax::IpGenPrefix &zone, const Packet::BootstrapMessage &bsm);
  void zoneDel(const Pax::IpGenPrefix &zone);
  void clear();

  /// Those of each zone, none of which is empty, in the order in which zones began to wait.
  const Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<Entries>> &zone() const { return zone_; }
  Entry &first(const Pax::IpGenPrefix &zone) { return (*zone_.find(zone))->front(); }
  /// The first entry of the zone is out.
  void pop(const Pax::IpGenPrefix &zone);

  Orb::TokenBucket pace{burst, interval};

 private:
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<Entries>> zone_;
  size_t size_ = 0;
};

}  // namespace Routing::Pim::Bsr
