/// Group blocks of Bootstrap messages that arrive split over several fragments (RFC 5059 section 4.1):
/// plain records, filled and read by BsmReassembly.
#pragma once

#include <ostream>

#include "platform/kiv/Attributes.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/pim/Types.h"

namespace Routing::Pim::Bsr {

/// Which group of a message a piece is of. Tags are random numbers of 16 bits that anybody can overhear, so the pieces
/// of another zone's or another BSR's message are never taken for those of this one.
struct PimBsrRxGroup {
  Pax::IpGenPrefix zone;
  Pax::IpGenAddr bsr;
  Pax::IpGenPrefix prefix;
  bool operator==(const PimBsrRxGroup &) const = default;
  friend std::ostream &operator<<(std::ostream &out, const PimBsrRxGroup &group) {
    return out << group.prefix << " of " << group.bsr << " in " << group.zone;
  }
};

}  // namespace Routing::Pim::Bsr

template <>
struct std::hash<Routing::Pim::Bsr::PimBsrRxGroup> {
  size_t operator()(const Routing::Pim::Bsr::PimBsrRxGroup &group) const {
    const std::hash<Pax::IpGenPrefix> ofPrefix;
    return ofPrefix(group.prefix) + 31 * (std::hash<Pax::IpGenAddr>()(group.bsr) + 31 * ofPrefix(group.zone));
  }
};

namespace Routing::Pim::Bsr {

/// The RPs collected so far for one group of one fragment tag. They are keyed by address: one
/// that is repeated replaces the earlier hold time and priority.
class PimBsrRxFragment : public Kiv::Entity {
 public:
  struct Rp {
    CrpHoldTime holdTime = 0;
    uint8_t priority = 0;
    bool operator==(const Rp &) const = default;
    friend std::ostream &operator<<(std::ostream &out, const Rp &rp) {
      return out << rp.holdTime << " s, priority " << unsigned{rp.priority};
    }
  };

#define ATTRIBUTES(ATTRIBUTE)                                               \
  /* the group's total as the first piece says it, and when that arrived */ \
  ATTRIBUTE(value, uint8_t, rpCount, RpCount, 0)                            \
  ATTRIBUTE(value, double, creationTime, CreationTime, 0)                   \
  ATTRIBUTE(values, Pax::IpGenAddr, Rp, rp, Rp)
  KIV_ENTITY(PimBsrRxFragment, ATTRIBUTES)
#undef ATTRIBUTES

 public:
  explicit PimBsrRxFragment(const PimBsrRxGroup &group) : group_(group) {}
  const PimBsrRxGroup &group() const { return group_; }
  const Pax::IpGenPrefix &prefix() const { return group_.prefix; }
  size_t rps() const { return rp().size(); }

 private:
  const PimBsrRxGroup group_;
};

/// The incomplete groups of one fragment tag, of whatever zones and BSRs.
class PimBsrRxFragments : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, PimBsrRxGroup, PimBsrRxFragment, groupRpData, GroupRpData)
  KIV_ENTITY(PimBsrRxFragments, ATTRIBUTES)
#undef ATTRIBUTES

 public:
  explicit PimBsrRxFragments(uint16_t fragTag) : fragTag_(fragTag) {}
  uint16_t fragTag() const { return fragTag_; }

 private:
  const uint16_t fragTag_;
};

}  // namespace Routing::Pim::Bsr
