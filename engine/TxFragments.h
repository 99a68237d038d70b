/// A Bootstrap message cut into fragments that fit an MTU.
///
/// Both families are counted alike: 36 bytes a message, 12 a group block, 12 an RP. The MTU in the PIM
/// interface status allows for that. Nothing here sends or writes to any status.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/pim/Packet.h"

namespace Routing::Pim::Bsr {

inline constexpr uint32_t bsmHeaderLength = 36;
inline constexpr uint32_t bsmGroupLength = 12;
inline constexpr uint32_t bsmRpLength = 12;
/// Below this, a fragment that begins with a zone block has no room for an RP: such an interface gets
/// no messages.
inline constexpr uint32_t bsmLeastMtu = bsmHeaderLength + bsmGroupLength + 2 * bsmRpLength + 1;

/// One fragment and the bytes that it fills so far.
class PimBsrTxFragment {
 public:
  explicit PimBsrTxFragment(Kiv::Ptr<Packet::BootstrapMessage> bsm) : bsm_(std::move(bsm)) {}
  const Kiv::Ptr<Packet::BootstrapMessage> &bsm() const { return bsm_; }
  KIV_FIELD(uint32_t, length, bsmHeaderLength)
  void lengthInc(uint32_t by) { lengthIs(length() + by); }
  bool isEmpty() const { return length() == bsmHeaderLength; }

 private:
  Kiv::Ptr<Packet::BootstrapMessage> bsm_;
};

/// The fragments of one message for one MTU, in sending order.
class PimBsrTxFragments {
 public:
  /// `source` gives each fragment its tag, flags and BSR.
  PimBsrTxFragments(uint32_t mtu, const Kiv::Ptr<const Packet::BootstrapMessage> &source, uint32_t numFragments);

  uint32_t mtu() const { return mtu_; }
  uint32_t numFragments() const { return static_cast<uint32_t>(fragment_.size()); }
  PimBsrTxFragment &fragment(uint32_t index) { return fragment_[index]; }
  const std::vector<PimBsrTxFragment> &fragment() const { return fragment_; }
  void fragmentAppend();

 private:
  const uint32_t mtu_;
  const Kiv::Ptr<const Packet::BootstrapMessage> source_;
  std::vector<PimBsrTxFragment> fragment_;
};

/// Places one group block: whole, into the first fragment with room for it. Where there is none, and with
/// `split`, its RPs are placed in pieces, each with the group's total RP count and its own fragment RP
/// count, and fragments are appended when those at hand are full. In a scoped zone an empty fragment gets
/// the zone's own block first. 0 on success, -1 when the group was not placed.
int32_t doAddGroupData(const Pax::IpGenPrefix &zone, uint8_t zoneRpCount, PimBsrTxFragments &fragments, uint32_t mtu,
                       const Packet::BootstrapGroupData &group, bool split, const std::string &vrfName);
/// Appends a fragment and places the group there whole. False, with nothing appended, if it does not
/// fit an empty fragment either.
bool appendGroupData(const Pax::IpGenPrefix &zone, uint8_t zoneRpCount, PimBsrTxFragments &fragments,
                     const Packet::BootstrapGroupData &group, const std::string &vrfName);

}  // namespace Routing::Pim::Bsr
