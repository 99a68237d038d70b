/// Status of PIM on the interfaces of a VRF: neighbors, DR, MTU. Written by the Hello speaker alone; the agent only
/// reads it.
#pragma once

#include <utility>

#include "platform/kiv/Attributes.h"
#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"

namespace Routing::Pim {

/// A neighbor, keyed by the source address of its Hellos. It is there until its holdtime runs out or it says
/// goodbye. Times are absolute, in seconds of the platform's clock; `expires` may be infinite.
class PimNeighbor : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                                                \
  /* its other addresses on the link, from the Address List option */                        \
  ATTRIBUTE(set, Pax::IpGenAddr, secondary, Secondary)                                       \
  ATTRIBUTE(value, bool, hasDrPriority, HasDrPriority, false)                                \
  ATTRIBUTE(value, uint32_t, drPriority, DrPriority, 1)                                      \
  ATTRIBUTE(value, bool, hasGenerationId, HasGenerationId, false)                            \
  ATTRIBUTE(value, uint32_t, generationId, GenerationId, 0)                                  \
  /* whether no other PIM message came from it; noted only while the interface is crowded */ \
  ATTRIBUTE(value, bool, onlyHello, OnlyHello, true)                                         \
  /* its last Hello took it back */                                                          \
  ATTRIBUTE(value, bool, saidGoodbye, SaidGoodbye, false)                                    \
  ATTRIBUTE(value, double, upTime, UpTime, 0)                                                \
  ATTRIBUTE(value, double, expires, Expires, 0)
  KIV_ENTITY(PimNeighbor, ATTRIBUTES)
#undef ATTRIBUTES
};

/// An interface on which PIM is on and can work: it is up and has a PIM address.
class PimIntf : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                                         \
  ATTRIBUTE(value, Pax::IpGenAddr, address, Address, {})                              \
  /* bytes that the agent may fill: min(link MTU, 2100), and half of that for IPv6 */ \
  ATTRIBUTE(value, uint32_t, mtu, Mtu, 0)                                             \
  /* our own, as our Hellos say it */                                                 \
  ATTRIBUTE(value, uint32_t, drPriority, DrPriority, 0)                               \
  ATTRIBUTE(value, Pax::IpGenAddr, dr, Dr, {})                                        \
  ATTRIBUTE(value, bool, isDr, IsDr, false)                                           \
  ATTRIBUTE(map, Pax::IpGenAddr, PimNeighbor, neighbor, Neighbor)                     \
  ATTRIBUTE(value, uint32_t, neighborsMost, NeighborsMost, 256)                       \
  /* Hellos sent because of a new neighbor or Generation ID */                        \
  ATTRIBUTE(counter, triggeredHelloSent, TriggeredHelloSent)                          \
  /* Hellos of strangers that were refused because there were too many neighbors */   \
  ATTRIBUTE(counter, helloRefused, HelloRefused)
  KIV_ENTITY(PimIntf, ATTRIBUTES)
#undef ATTRIBUTES

 public:
  /// There are so many neighbors that it soon matters which of them are real.
  bool isCrowded() const { return neighbor().size() > neighborsMost() / 2; }
  /// The neighbor with this address, primary or in its Address List; `primary` becomes its primary address. Null,
  /// and `primary` stays as it is, when no neighbor has the address.
  Kiv::Ptr<PimNeighbor> neighborOwning(const Pax::IpGenAddr &address, Pax::IpGenAddr &primary) const;
  /// The address of the DR among us and the neighbors for which `takesPart(address, neighbor)` holds (RFC
  /// 7761 section 4.3.2): priorities count only if all of them send one.
  template <class TakesPart>
  Pax::IpGenAddr electedDr(const TakesPart &takesPart) const {
    bool isPriorityUsed = true;
    for (const auto &[key, candidate] : neighbor()) {
      if (takesPart(key, *candidate)) isPriorityUsed = isPriorityUsed && candidate->hasDrPriority();
    }
    auto best = std::pair(isPriorityUsed ? drPriority() : 0, address());
    for (const auto &[key, candidate] : neighbor()) {
      if (takesPart(key, *candidate))
        best = std::max(best, std::pair(isPriorityUsed ? candidate->drPriority() : 0, key));
    }
    return best.second;
  }
};

/// All interfaces of one VRF where PIM is on and can work; no other interface is in it.
class Status : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;

  KIV_ENTITY_WITH(Status, map, Pax::IntfId, PimIntf, pimIntf, PimIntf)
};

}  // namespace Routing::Pim
