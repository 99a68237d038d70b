#include "engine/TxFragments.h"

#include <algorithm>

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Sm");

// Places the blocks of one group; lives for one call.
struct GroupPlacement {
  const Pax::IpGenPrefix &zone_;
  const uint8_t zoneRpCount_;
  PimBsrTxFragments &fragments_;
  const uint32_t mtu_;
  const Packet::BootstrapGroupData &group_;
  const std::string &vrfName_;

  bool placeWhole() {
    for (uint32_t i = 0; i < fragments_.numFragments(); ++i) {
      const uint32_t length = fragments_.fragment(i).length();
      const uint32_t need = length + (needsZoneBlock(i) ? bsmGroupLength : 0) + wholeLength();
      if (need <= mtu_) {
        addWhole(i);
        return true;
      }
      VRF_TRACE(
          trace, 8,
          "Fragment " << i << " does not have space. Required Space:" << need << ", Available space:" << mtu_ - length);
    }
    return false;
  }

  bool appendWhole() {
    if (emptyLength() + wholeLength() > mtu_) return false;
    fragments_.fragmentAppend();
    addWhole(fragments_.numFragments() - 1);
    return true;
  }

  // The list of a relayed piece is shorter than the group's RP count: the split ends with the list.
  bool placeSplit() {
    size_t placed = 0;
    const size_t total = group_.rpList().size();
    for (uint32_t i = 0; placed < total; ++i) {
      if (i == fragments_.numFragments()) {
        if (!emptyFragmentTakesRp()) return false;
        fragments_.fragmentAppend();
      }
      addZoneBlockFirst(i);
      placed += addPiece(i, placed);
    }
    return true;
  }

  const std::string &vrfName() const { return vrfName_; }

  // Compared with the IPv4 global zone, so that in IPv6 the fragments of every zone begin with the
  // zone's block.
  bool zoneBlockHeads() const {
    static const Pax::IpGenPrefix unscoped = Pax::allGroups(Pax::AddressFamily::ipv4);
    return zone_ != unscoped && group_.prefix() != zone_;
  }
  bool needsZoneBlock(uint32_t i) const { return zoneBlockHeads() && fragments_.fragment(i).isEmpty(); }

  uint32_t wholeLength() const { return bsmGroupLength + bsmRpLength * group_.rpCount(); }
  // Of a fragment before the first block of the group.
  uint32_t emptyLength() const { return bsmHeaderLength + (zoneBlockHeads() ? bsmGroupLength : 0); }
  bool emptyFragmentTakesRp() const { return mtu_ > emptyLength() + bsmGroupLength + bsmRpLength; }

  void addWhole(uint32_t i) {
    addZoneBlockFirst(i);
    addBlock(i, 0, group_.rpList().size(), group_.fragmentRpCount());
    fragments_.fragment(i).lengthInc(wholeLength());
    VRF_TRACE(trace, 8, "Length of fragment " << i << " is " << fragments_.fragment(i).length());
  }

  void addZoneBlockFirst(uint32_t i) {
    if (!needsZoneBlock(i)) return;
    const auto block = Packet::BootstrapGroupDataIs(zone_);
    block->adminScopeIs(true);
    block->rpCountIs(zoneRpCount_);
    PimBsrTxFragment &fragment = fragments_.fragment(i);
    fragment.bsm()->optionalData()->groupDataEnq(block);
    fragment.lengthInc(bsmGroupLength);
    VRF_TRACE(trace, 8, "Adding zone " << zone_ << " information to fragment " << i);
  }

  // As many RPs from `placed` on as fragment i takes; returns their number.
  size_t addPiece(uint32_t i, size_t placed) {
    PimBsrTxFragment &fragment = fragments_.fragment(i);
    const uint32_t free = mtu_ > fragment.length() ? mtu_ - fragment.length() : 0;
    if (free <= bsmGroupLength + bsmRpLength) {
      VRF_TRACE(trace, 8, "Fragment " << i << " does not have space. Available space:" << free);
      return 0;
    }
    const size_t fit = (free - bsmGroupLength) / bsmRpLength;
    const size_t count = std::min(fit, group_.rpList().size() - placed);
    VRF_TRACE(trace, 8,
              "Splitting fragment for prefix " << group_.prefix() << " containing " << unsigned{group_.rpCount()}
                                               << " Rps ( max " << fit << " )    into fragment " << i << " with "
                                               << count << " to house prefix " << group_.prefix());
    addBlock(i, placed, count, static_cast<uint8_t>(count));
    fragment.lengthInc(bsmGroupLength + bsmRpLength * static_cast<uint32_t>(count));
    return count;
  }

  void addBlock(uint32_t i, size_t first, size_t count, uint8_t fragmentRpCount) {
    const auto block = Packet::BootstrapGroupDataIs(group_.prefix());
    block->adminScopeIs(group_.adminScope());
    block->bidirIs(group_.bidir());
    block->rpCountIs(group_.rpCount());
    block->fragmentRpCountIs(fragmentRpCount);
    const auto begin = group_.rpList().begin() + static_cast<std::ptrdiff_t>(first);
    block->rpListIs({begin, begin + static_cast<std::ptrdiff_t>(count)});
    fragments_.fragment(i).bsm()->optionalData()->groupDataEnq(block);
  }
};

}  // namespace

PimBsrTxFragments::PimBsrTxFragments(uint32_t mtu, const Kiv::Ptr<const Packet::BootstrapMessage> &source,
                                     uint32_t numFragments)
    : mtu_(mtu), source_(source) {
  fragment_.reserve(numFragments);
  for (uint32_t i = 0; i < numFragments; ++i) fragmentAppend();
}

void PimBsrTxFragments::fragmentAppend() { fragment_.emplace_back(Packet::bootstrapHeaderOf(*source_)); }

int32_t doAddGroupData(const Pax::IpGenPrefix &zone, uint8_t zoneRpCount, PimBsrTxFragments &fragments, uint32_t mtu,
                       const Packet::BootstrapGroupData &group, bool split, const std::string &vrfName) {
  GroupPlacement placement{zone, zoneRpCount, fragments, mtu, group, vrfName};
  if (placement.placeWhole()) return 0;
  return split && placement.placeSplit() ? 0 : -1;
}

bool appendGroupData(const Pax::IpGenPrefix &zone, uint8_t zoneRpCount, PimBsrTxFragments &fragments,
                     const Packet::BootstrapGroupData &group, const std::string &vrfName) {
  return GroupPlacement{zone, zoneRpCount, fragments, fragments.mtu(), group, vrfName}.appendWhole();
}

}  // namespace Routing::Pim::Bsr
