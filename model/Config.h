/// The configuration that the agent reads. It is written by whoever loads it, never by the agent.
///
/// Every entity may change at any time, one attribute at a time: whoever writes several related values orders the
/// writes so that what is in force stays in force (daemon/file/ConfigApply). ConfigSm turns it into Status.
#pragma once

#include "model/Limits.h"
#include "platform/kiv/Attributes.h"
#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/pim/Types.h"

namespace Routing::Pim::Bsr {

/// Values that mean "not configured" in candidate-BSR entries.
inline constexpr uint16_t bsrPriorityUnset = 256;
inline constexpr uint32_t hashMaskLenUnset = 128;
inline constexpr uint32_t bsPeriodUnset = 0;

/// What is done with a Bootstrap message whose pieces of a group contradict those that arrived before under the same
/// fragment tag: it is dropped like any bad input, or it is taken, which ends the agent where it shows.
enum class MixedFragments : uint8_t { drop, stop };
std::ostream &operator<<(std::ostream &out, MixedFragments choice);

/// What a group entry and an ACL entry of a candidate BSR have in common. An entry is not used
/// before its priority and its hash mask length are set.
#define CANDIDATE_ATTRIBUTES(ATTRIBUTE)                                  \
  ATTRIBUTE(value, uint16_t, priority, Priority, bsrPriorityUnset)       \
  ATTRIBUTE(value, uint32_t, hashMaskLen, HashMaskLen, hashMaskLenUnset) \
  /* the bootstrap period, seconds */                                    \
  ATTRIBUTE(value, uint32_t, interval, Interval, 60)

/// Candidacy for the zone that is its key.
class BsrCandidateGroup : public Kiv::Entity {
  KIV_ENTITY(BsrCandidateGroup, CANDIDATE_ATTRIBUTES)
};

/// Candidacy for every group prefix that the ACL, its key, permits.
class BsrCandidateAcl : public Kiv::Entity {
  KIV_ENTITY(BsrCandidateAcl, CANDIDATE_ATTRIBUTES)
};
#undef CANDIDATE_ATTRIBUTES

/// An interface that is a candidate BSR, with its address, in the zones of its entries. A zone that several entries
/// name has the values of the last ACL by name, or else those of its group.
class BsrCandidateConfig : public Kiv::Entity {
 public:
  explicit BsrCandidateConfig(const Pax::IntfId &intfId) : intfId_(intfId) {}
  const Pax::IntfId &intfId() const { return intfId_; }

#define ATTRIBUTES(ATTRIBUTE)                                       \
  ATTRIBUTE(map, Pax::IpGenPrefix, BsrCandidateGroup, group, Group) \
  ATTRIBUTE(map, std::string, BsrCandidateAcl, acl, Acl)
  KIV_ENTITY(BsrCandidateConfig, ATTRIBUTES)
#undef ATTRIBUTES

 private:
  const Pax::IntfId intfId_;
};

/// Options of one advertised range. Kept beside the range, and used while both are there.
class RpCandidateGroupEntryOptions : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(value, RpPriority, priority, Priority, rpPriorityUnset)
  KIV_ENTITY(RpCandidateGroupEntryOptions, ATTRIBUTES)
};

/// Options of all ranges that come from one ACL.
class RpCandidateAclEntryOptions : public Kiv::Entity {
  KIV_ENTITY(RpCandidateAclEntryOptions, ATTRIBUTES)
#undef ATTRIBUTES
};

/// An interface that is a candidate RP, with its address, for the ranges listed and those that its ACLs permit. A range
/// without a priority is served, and not advertised.
class RpCandidateConfig : public Kiv::Entity {
 public:
  explicit RpCandidateConfig(const Pax::IntfId &intfId) : intfId_(intfId) {}
  const Pax::IntfId &intfId() const { return intfId_; }

#define ATTRIBUTES(ATTRIBUTE)                                                                          \
  ATTRIBUTE(set, Pax::IpGenPrefix, groupRange, GroupRange)                                             \
  ATTRIBUTE(map, Pax::IpGenPrefix, RpCandidateGroupEntryOptions, groupRangeOptions, GroupRangeOptions) \
  ATTRIBUTE(set, std::string, acl, Acl)                                                                \
  ATTRIBUTE(map, std::string, RpCandidateAclEntryOptions, aclOptions, AclOptions)                      \
  ATTRIBUTE(value, Mode, mode, Mode, Mode::sparse)                                                     \
  ATTRIBUTE(value, CrpAdvInterval, advInterval, AdvInterval, 60)
  KIV_ENTITY(RpCandidateConfig, ATTRIBUTES)
#undef ATTRIBUTES

 private:
  const Pax::IntfId intfId_;
};

/// The group ranges for which an interface is a BSR border, listed and permitted by ACLs.
class IntfConfig : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                  \
  ATTRIBUTE(set, Pax::IpGenPrefix, bsrBorderGrp, BsrBorderGrp) \
  ATTRIBUTE(set, std::string, bsrBorderAcl, BsrBorderAcl)
  KIV_ENTITY(IntfConfig, ATTRIBUTES)
#undef ATTRIBUTES
};

/// Configuration of one VRF. Times in seconds. Without `crpFilterAcl` the advertisements of all candidate RPs are
/// accepted.
class Config : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                                             \
  ATTRIBUTE(value, uint32_t, holdTime, HoldTime, 130)                                     \
  ATTRIBUTE(value, uint32_t, szTimeout, SzTimeout, 1300)                                  \
  ATTRIBUTE(value, MixedFragments, mixedFragments, MixedFragments, MixedFragments::drop)  \
  ATTRIBUTE(value, Bsr::Limits, limits, Limits, {})                                       \
  ATTRIBUTE(map, Pax::IntfId, BsrCandidateConfig, bsrCandidateConfig, BsrCandidateConfig) \
  ATTRIBUTE(map, Pax::IntfId, RpCandidateConfig, rpCandidateConfig, RpCandidateConfig)    \
  ATTRIBUTE(set, std::string, crpFilterAcl, CrpFilterAcl)
  KIV_ENTITY(Config, ATTRIBUTES)
#undef ATTRIBUTES
};

/// All configuration of one address family.
class ConfigColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                               \
  ATTRIBUTE(map, L3::VrfName, Config, vrfConfig, VrfConfig) \
  ATTRIBUTE(map, Pax::IntfId, IntfConfig, intfConfig, IntfConfig)
  KIV_ENTITY(ConfigColl, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The interface configuration of one VRF: references into ConfigColl, made by the agent.
class VrfIntfConfig : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(values, Pax::IntfId, Kiv::Ptr<const IntfConfig>, intfConfig, IntfConfig)
  KIV_ENTITY(VrfIntfConfig, ATTRIBUTES)
#undef ATTRIBUTES
};

/// Every change of the count asks for the VRF's counters to be cleared.
class ClearConfig : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(counter, countersCount, CountersCount)
  KIV_ENTITY(ClearConfig, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The requests of every VRF.
class ClearConfigColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, L3::VrfName, ClearConfig, vrfClearConfig, VrfClearConfig)
  KIV_ENTITY(ClearConfigColl, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace Routing::Pim::Bsr
