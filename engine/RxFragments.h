/// Group blocks of Bootstrap messages that arrive split over several fragments (RFC 5059 section 4.1):
/// plain records, filled and read by BsmReassembly.
#pragma once

#include <ostream>

#include "platform/kiv/Attributes.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/pim/Types.h"

namespace Routing::Pim::Bsr {

/// The RPs collected so far for one group prefix of one fragment tag. They are keyed by address: one
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
  explicit PimBsrRxFragment(const Pax::IpGenPrefix &prefix) : prefix_(prefix) {}
  const Pax::IpGenPrefix &prefix() const { return prefix_; }
  size_t rps() const { return rp().size(); }

 private:
  const Pax::IpGenPrefix prefix_;
};

/// The incomplete groups of one fragment tag.
class PimBsrRxFragments : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, Pax::IpGenPrefix, PimBsrRxFragment, groupRpData, GroupRpData)
  KIV_ENTITY(PimBsrRxFragments, ATTRIBUTES)
#undef ATTRIBUTES

 public:
  explicit PimBsrRxFragments(uint16_t fragTag) : fragTag_(fragTag) {}
  uint16_t fragTag() const { return fragTag_; }

 private:
  const uint16_t fragTag_;
};

}  // namespace Routing::Pim::Bsr
