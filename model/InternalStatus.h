/// The hand-over records between the message machines and the engine, one of each per VRF, and the
/// values that they compare BSRs and candidate RPs by.
///
/// A hand-over writes the payload attributes first and then the one that signals it; the reactor
/// acts on that one only. The counters only grow, so the same record can be handed over twice.
#pragma once

#include "model/Config.h"
#include "platform/pim/Packet.h"

namespace Routing::Pim::Bsr {

/// Bootstrap messages. Received: `iifIntfId`, `firstGroup`, then `rxBsm` signals. To send: `txBsm`
/// and `oifIntfId`, then writeCountInc(1) signals.
class PimBsmStatus : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;

#define ATTRIBUTES(ATTRIBUTE)                                            \
  ATTRIBUTE(value, Pax::IntfId, iifIntfId, IifIntfId, {})                \
  /* first group block of rxBsm; null when it has none */                \
  ATTRIBUTE(pointer, Packet::BootstrapGroupData, firstGroup, FirstGroup) \
  ATTRIBUTE(pointer, Packet::BootstrapMessage, rxBsm, RxBsm)             \
  ATTRIBUTE(pointer, Packet::BootstrapMessage, txBsm, TxBsm)             \
  ATTRIBUTE(value, Pax::IntfId, oifIntfId, OifIntfId, {})                \
  ATTRIBUTE(counter, writeCount, WriteCount)
  KIV_ENTITY(PimBsmStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The zone of a Bootstrap message: the range of its first group block if that has Z set, otherwise `globalZone`.
inline Pax::IpGenPrefix zoneOf(const Packet::BootstrapMessage &bsm, const Pax::IpGenPrefix &globalZone) {
  const auto &groups = bsm.groupData();
  return !groups.empty() && groups.front()->adminScope() ? groups.front()->prefix() : globalZone;
}

/// Candidate-RP advertisements. Received: the other attributes, then readCountInc(1) signals, once
/// per group range. To send: `txCrpMsg`, whose destination is the BSR, then writeCountInc(1); whoever
/// sends it increments `sentCount` if it has left, or is for ourselves. The engine increments `refusedCount` for a
/// range of a zone whose BSR we are not.
class PimCrpMsgStatus : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;

#define ATTRIBUTES(ATTRIBUTE)                                    \
  ATTRIBUTE(pointer, Packet::CrpGroupInfo, groupInfo, GroupInfo) \
  /* the destination of the last accepted advertisement */       \
  ATTRIBUTE(value, Pax::IpGenAddr, bsrIp, BsrIp, {})             \
  ATTRIBUTE(value, Pax::IpGenAddr, rp, Rp, {})                   \
  ATTRIBUTE(value, RpPriority, priority, Priority, 0)            \
  ATTRIBUTE(value, CrpHoldTime, holdTime, HoldTime, 0)           \
  ATTRIBUTE(counter, readCount, ReadCount)                       \
  ATTRIBUTE(counter, refusedCount, RefusedCount)                 \
  ATTRIBUTE(pointer, Packet::CrpAdvMessage, rxCrpMsg, RxCrpMsg)  \
  ATTRIBUTE(pointer, Packet::CrpAdvMessage, txCrpMsg, TxCrpMsg)  \
  ATTRIBUTE(counter, writeCount, WriteCount)                     \
  ATTRIBUTE(counter, sentCount, SentCount)
  KIV_ENTITY(PimCrpMsgStatus, ATTRIBUTES)
#undef ATTRIBUTES
};

/// The group prefixes that a candidate RP advertises under one key, its zone.
class RpCandidatePrefixSet : public Kiv::Entity {
 public:
  explicit RpCandidatePrefixSet(const Pax::IpGenPrefix &key) : key_(key) {}
  const Pax::IpGenPrefix &key() const { return key_; }

#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(set, Pax::IpGenPrefix, prefixSet, PrefixSet)
  KIV_ENTITY(RpCandidatePrefixSet, ATTRIBUTES)
#undef ATTRIBUTES

 private:
  const Pax::IpGenPrefix key_;
};

/// Election weight of a BSR (RFC 5059 section 3.1.3): the higher priority wins, then the higher address.
struct PimBsrWeight {
  uint8_t priority = 0;
  Pax::IpGenAddr ipAddr;

  PimBsrWeight() = default;
  PimBsrWeight(uint8_t priority, const Pax::IpGenAddr &ipAddr) : priority(priority), ipAddr(ipAddr) {}
  /// From its string form; throws Kiv::RangeError.
  explicit PimBsrWeight(const std::string &text);
  std::string toString() const;

  bool operator==(const PimBsrWeight &) const = default;
  /// Weights of equal priority must be of one family; anything else is fatal.
  bool operator<(const PimBsrWeight &weight) const;
  bool operator!() const { return priority == 0 && ipAddr.isZero(); }
};

/// What a candidate RP advertises about itself; the key of its advertiser.
struct CrpOptions {
  Pax::IpGenAddr rpAddress;
  RpPriority priority = rpPriorityUnset;

  CrpOptions() = default;
  CrpOptions(const Pax::IpGenAddr &rpAddress, RpPriority priority) : rpAddress(rpAddress), priority(priority) {}
  /// From its string form; throws Kiv::RangeError.
  explicit CrpOptions(const std::string &text);
  std::string toString() const;
  std::string pretty() const;
  size_t hash() const;

  auto operator<=>(const CrpOptions &) const = default;
};
std::ostream &operator<<(std::ostream &out, const CrpOptions &options);

}  // namespace Routing::Pim::Bsr

template <>
struct std::hash<Routing::Pim::Bsr::PimBsrWeight> {
  size_t operator()(const Routing::Pim::Bsr::PimBsrWeight &weight) const {
    return std::hash<Pax::IpGenAddr>()(weight.ipAddr) + weight.priority;
  }
};
template <>
struct std::hash<Routing::Pim::Bsr::CrpOptions> {
  size_t operator()(const Routing::Pim::Bsr::CrpOptions &options) const { return options.hash(); }
};
