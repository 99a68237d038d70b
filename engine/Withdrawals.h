/// The candidate RPs that an elected BSR still has to list with hold time 0.
///
/// Receivers drop an RP only when a message lists it so, or when its own hold time ends. Messages get
/// lost, so a withdrawn RP is listed in several consecutive ones.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "platform/pax/IpGenPrefix.h"
#include "platform/pim/Types.h"

namespace Routing::Pim::Bsr {

/// A plain value, a member of the zone's candidate machine: CrpCollection adds and removes RPs,
/// BsmOrigination asks what to list, and the machine counts each message that it has made. It writes
/// no status and sends nothing.
class Withdrawals {
 public:
  /// A withdrawn RP is listed in this many consecutive messages.
  static constexpr uint8_t listings = 3;
  /// At most this many of one prefix are listed in a message; the others wait for the next.
  static constexpr size_t mostListed = 64;

  struct Rp {
    Pax::IpGenAddr address;
    Mode mode;
  };

  /// The RP is withdrawn: it will be listed from the next message on, also if it has been before.
  void add(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp, Mode mode);
  /// The RP is back, or never was withdrawn.
  void remove(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp);
  void clear() { waiting_.clear(), size_ = 0; }

  bool empty() const { return waiting_.empty(); }
  /// Withdrawn RPs, one for each prefix.
  size_t size() const { return size_; }
  bool contains(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rp) const;
  std::vector<Pax::IpGenPrefix> prefixes() const;
  /// What the next message lists of the prefix, the least often listed first.
  std::vector<Rp> toList(const Pax::IpGenPrefix &prefix) const;
  /// A message has been made that lists all of toList(), of every prefix.
  void listed();

 private:
  struct Waiting {
    Mode mode;
    uint8_t listingsLeft = listings;
  };
  using Rps = std::map<Pax::IpGenAddr, Waiting>;

  std::map<Pax::IpGenPrefix, Rps> waiting_;  // no prefix without RPs
  size_t size_ = 0;
};

}  // namespace Routing::Pim::Bsr
