/// The status that the agent writes: candidates, borders, elected BSRs, learned RPs, counters.
///
/// Every per-zone collection is keyed by the zone's group prefix; the global zone is all multicast
/// groups of the family. Times are absolute, in seconds of the platform's clock.
///
/// Status is owned by the state store and outlives the machines that write it: a restarted agent, or one that comes
/// back from standby, finds it and goes on from there. Each attribute has one writer, named beside its class.
#pragma once

#include "model/Config.h"
#include "model/Counters.h"
#include "platform/pim/RpCandidateStatus.h"

namespace Routing::Pim::Bsr {

/// State of a candidate-BSR machine: candidate, pending, elected. `unset` before it has started.
enum class BsrCandidateState : uint8_t { unset = 0, cBsr = 1, pBsr = 2, eBsr = 3 };
std::ostream &operator<<(std::ostream &out, BsrCandidateState state);

/// This router's candidacy in one zone. The configuration writes the first five attributes, the
/// candidate's state machine the last two.
class BsrCandidate : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                            \
  ATTRIBUTE(value, Pax::IpGenAddr, address, Address, {})                 \
  ATTRIBUTE(value, Pax::IntfId, intfId, IntfId, {})                      \
  ATTRIBUTE(value, uint16_t, priority, Priority, bsrPriorityUnset)       \
  ATTRIBUTE(value, uint32_t, hashMaskLen, HashMaskLen, hashMaskLenUnset) \
  ATTRIBUTE(value, uint32_t, bsPeriod, BsPeriod, bsPeriodUnset)          \
  ATTRIBUTE(value, bool, elected, Elected, false)                        \
  ATTRIBUTE(value, BsrCandidateState, state, State, BsrCandidateState::unset)
  KIV_ENTITY(BsrCandidate, ATTRIBUTES)
#undef ATTRIBUTES

  /// Whether all is set that an election needs.
  bool isComplete() const {
    return priority() != bsrPriorityUnset && hashMaskLen() != hashMaskLenUnset && bsPeriod() != bsPeriodUnset &&
           !address().isZero();
  }
};

/// One candidate RP of this router, keyed by its address. A prefix may be served without an entry
/// in `prefixOptions`; the entry is there only where a priority is configured.
class RpCandidate : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                              \
  ATTRIBUTE(value, Pax::IntfId, intfId, IntfId, {})        \
  ATTRIBUTE(value, CrpAdvInterval, interval, Interval, 60) \
  ATTRIBUTE(value, Mode, mode, Mode, Mode::sparse)         \
  ATTRIBUTE(set, Pax::IpGenPrefix, prefixSet, PrefixSet)   \
  ATTRIBUTE(map, Pax::IpGenPrefix, RpCandidateGroupEntryOptions, prefixOptions, PrefixOptions)
  KIV_ENTITY(RpCandidate, ATTRIBUTES)
#undef ATTRIBUTES

  /// Whether the priority is configured for any prefix: then there is an advertiser for it.
  bool hasPriority(RpPriority priority) const {
    for (const auto &[prefix, options] : prefixOptions()) {
      if (options->priority() == priority) return true;
    }
    return false;
  }
};

/// The interfaces that are a BSR border for the group range that is its key: Bootstrap messages of the zone of exactly
/// that range do not cross them. Written by the configuration (KivActiveConfig).
class PimBsrBorder : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(set, Pax::IntfId, intfId, IntfId)
  KIV_ENTITY(PimBsrBorder, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The elected BSR of one zone, which may be this router. Written by the zone's state machine, which removes it when
/// the BSR is lost. `expiryTime` says when the zone's bootstrap timer acts next.
class ElectedBsrStatus : public Kiv::Entity {
 public:
  explicit ElectedBsrStatus(const Pax::IpGenPrefix &zone) : zone_(zone) {}
  const Pax::IpGenPrefix &zone() const { return zone_; }
  /// Seconds until the zone's bootstrap timer expires, and since this BSR was first learned.
  double expires(double now) const { return expiryTime() - now; }
  double upTime(double now) const { return now - setupTime(); }

#define ATTRIBUTES(ATTRIBUTE)                             \
  ATTRIBUTE(value, Pax::IpGenAddr, ipAddr, IpAddr, {})    \
  ATTRIBUTE(value, uint16_t, priority, Priority, 0)       \
  ATTRIBUTE(value, uint32_t, hashMaskLen, HashMaskLen, 0) \
  ATTRIBUTE(value, double, setupTime, SetupTime, 0)       \
  ATTRIBUTE(value, double, expiryTime, ExpiryTime, 0)
  KIV_ENTITY(ElectedBsrStatus, ATTRIBUTES)
#undef ATTRIBUTES

 private:
  const Pax::IpGenPrefix zone_;
};

/// The RPs of one zone, learned from Bootstrap messages (RpSetStore) or, on the zone's BSR, from advertisements
/// (CrpCollection). There while the zone has a BSR or an RP. `status` is stored under the empty name.
class PimBsrRpCandidateStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(child, RpCandidateStatus, status, Status)
  KIV_ENTITY(PimBsrRpCandidateStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

/// Status of one VRF. The configuration (ConfigSm) writes the timeouts, what else applies to all zones, the candidates,
/// the borders and the accepted sources; the engine the RP sets and the elected BSRs; the message machines the
/// counters.
class Status : public Kiv::NamedEntity {
 public:
  explicit Status(const L3::VrfName &vrf) : NamedEntity(vrf.text()) {}

#define ATTRIBUTES(ATTRIBUTE)                                                            \
  ATTRIBUTE(value, Pax::AddressFamily, af, Af, Pax::AddressFamily::unknown)              \
  ATTRIBUTE(child, PimBsrCounters, counters, Counters)                                   \
  /* the hold time and the scoped-zone timeout in force, seconds */                      \
  ATTRIBUTE(value, uint32_t, bsTimeout, BsTimeout, 0)                                    \
  ATTRIBUTE(value, uint32_t, szTimeout, SzTimeout, 0)                                    \
  /* as configured */                                                                    \
  ATTRIBUTE(value, MixedFragments, mixedFragments, MixedFragments, MixedFragments::drop) \
  ATTRIBUTE(value, Bsr::Limits, limits, Limits, {})                                      \
  ATTRIBUTE(map, Pax::IpGenPrefix, BsrCandidate, cbsr, Cbsr)                             \
  /* which interface owns a configured zone group, or zone ACL */                        \
  ATTRIBUTE(values, Pax::IpGenPrefix, Pax::IntfId, zoneGroup, ZoneGroup)                 \
  ATTRIBUTE(values, std::string, Pax::IntfId, zoneAcl, ZoneAcl)                          \
  ATTRIBUTE(map, Pax::IpGenAddr, RpCandidate, crp, Crp)                                  \
  ATTRIBUTE(map, Pax::IpGenPrefix, PimBsrBorder, bsBorder, BsBorder)                     \
  /* sources whose advertisements are accepted */                                        \
  ATTRIBUTE(values, Pax::IpGenPrefix, bool, crpPermit, CrpPermit)                        \
  ATTRIBUTE(map, Pax::IpGenPrefix, PimBsrRpCandidateStatus, crpStatus, CrpStatus)        \
  ATTRIBUTE(map, Pax::IpGenPrefix, ElectedBsrStatus, bootstrapRouter, BootstrapRouter)
  KIV_ENTITY(Status, ATTRIBUTES)
#undef ATTRIBUTES
};

/// Whether `intfId` is a BSR border for the zone.
bool isBorder(const Status &status, const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId);
/// The RP sets of a zone, or null.
Kiv::Ptr<RpCandidateStatus> rpSetsOf(const Status &status, const Pax::IpGenPrefix &zone);
/// A zone's RP set of one group prefix, or null.
Kiv::Ptr<RpCandidateSet> rpSetOf(const Status &status, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix);

/// The status of every VRF that the agent knows.
class StatusColl : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, L3::VrfName, Status, vrfStatus, VrfStatus)
  KIV_ENTITY(StatusColl, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace Routing::Pim::Bsr
