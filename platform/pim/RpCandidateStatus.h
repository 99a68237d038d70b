/// Learned RPs, by group prefix, then by RP address. There is one such tree for each scope zone, with what its
/// BSR announced, and one for each VRF that is published for whoever maps groups to RPs. Both are written by the
/// engine of the VRF.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/pim/Types.h"

namespace Routing::Pim {

/// One RP of one group prefix, as the BSR announced it. Times are absolute, in seconds of the platform's clock;
/// the hold time is in seconds.
class RpCandidate : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                       \
  ATTRIBUTE(value, Mode, pimMode, PimMode, Mode::sparse)            \
  ATTRIBUTE(value, RpPriority, priority, Priority, rpPriorityUnset) \
  ATTRIBUTE(value, CrpHoldTime, holdTime, HoldTime, 0)              \
  ATTRIBUTE(value, RpHashMaskLen, hashMaskLen, HashMaskLen, 0)      \
  ATTRIBUTE(value, double, setupTime, SetupTime, 0)                 \
  ATTRIBUTE(value, double, expires, Expires, 0)
  KIV_ENTITY(RpCandidate, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The RPs of one group prefix.
class RpCandidateSet : public Kiv::Entity {
  KIV_ENTITY_WITH(RpCandidateSet, map, Pax::IpGenAddr, RpCandidate, rp, Rp)
};

/// The `rpSetType` of a set that was learned from a Bootstrap Router.
inline constexpr uint32_t rpSetTypeBsr = 2;

/// One tree: the group prefixes that have RPs. A prefix whose last RP goes is removed.
class RpCandidateStatus : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;

#define ATTRIBUTES(ATTRIBUTE)                         \
  ATTRIBUTE(value, uint32_t, rpSetType, RpSetType, 0) \
  ATTRIBUTE(map, Pax::IpGenPrefix, RpCandidateSet, crpSet, CrpSet)
  KIV_ENTITY(RpCandidateStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace Routing::Pim
