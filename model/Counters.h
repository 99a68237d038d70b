/// Message counters of a VRF.
#pragma once

#include <iosfwd>

#include "platform/kiv/Attributes.h"

namespace Routing::Pim::Bsr {

/// Drops by reason. Read, changed in one field and written back whole.
struct PimBsrErrorCounters {
  uint32_t deniedError = 0;       ///< over a border of the zone, or an advertiser that is not permitted
  uint32_t deniedCrpAdv = 0;      ///< the latter among them
  uint32_t rpfError = 0;          ///< no RPF neighbor, or not from it
  uint32_t noFwdBsmError = 0;     ///< a no-forward message that is no quick refresh
  uint32_t unicastBsmError = 0;   ///< a Bootstrap message sent to a unicast address
  uint32_t notBsrError = 0;       ///< an advertisement for a zone whose BSR we are not
  uint32_t unknownDestError = 0;  ///< sent to a multicast address other than ALL-PIM-ROUTERS
  bool operator==(const PimBsrErrorCounters &) const = default;
};
std::ostream &operator<<(std::ostream &out, const PimBsrErrorCounters &counters);

/// What was refused because a limit was reached, under the names of the limits. Changed like the errors.
struct PimBsrLimitCounters {
  uint32_t rps = 0;
  uint32_t zones = 0;  ///< messages of zones beyond it
  uint32_t ranges = 0;
  uint32_t collectedRps = 0;
  uint32_t rangesPerRp = 0;
  uint32_t keptBytes = 0;  ///< messages that were not kept
  uint32_t openBytes = 0;  ///< messages that were dropped
  bool operator==(const PimBsrLimitCounters &) const = default;
};
std::ostream &operator<<(std::ostream &out, const PimBsrLimitCounters &counters);

/// Of all PIM messages of the agent, and by kind. Written by the message machines, and by the engine where it gives
/// up a block or refuses what is beyond a limit; the first six and the errors start from zero with each start of the
/// VRF, the others go on. The sums of a drop are kept together by countDrop().
class PimBsrCounters : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;

#define ATTRIBUTES(ATTRIBUTE)                                         \
  ATTRIBUTE(counter, rx, Rx)                                          \
  ATTRIBUTE(counter, rxSuccess, RxSuccess)                            \
  ATTRIBUTE(counter, rxError, RxError)                                \
  ATTRIBUTE(counter, tx, Tx)                                          \
  ATTRIBUTE(counter, txSuccess, TxSuccess)                            \
  ATTRIBUTE(counter, txError, TxError)                                \
  ATTRIBUTE(counter, rxBsm, RxBsm)                                    \
  ATTRIBUTE(counter, rxBsmSuccess, RxBsmSuccess)                      \
  ATTRIBUTE(counter, rxBsmError, RxBsmError)                          \
  ATTRIBUTE(counter, rxCrpAdv, RxCrpAdv)                              \
  ATTRIBUTE(counter, rxCrpAdvSuccess, RxCrpAdvSuccess)                \
  ATTRIBUTE(counter, rxCrpAdvError, RxCrpAdvError)                    \
  ATTRIBUTE(value, PimBsrErrorCounters, errCounters, ErrCounters, {}) \
  ATTRIBUTE(value, PimBsrLimitCounters, limitCounters, LimitCounters, {})
  KIV_ENTITY(PimBsrCounters, ATTRIBUTES)
#undef ATTRIBUTES

 public:
  /// Adds one to a field of errCounters.
  void errorInc(uint32_t PimBsrErrorCounters::*field) {
    PimBsrErrorCounters changed = errCounters();
    ++(changed.*field);
    errCountersIs(changed);
  }
  /// The same for limitCounters.
  void refusalInc(uint32_t PimBsrLimitCounters::*limit) {
    PimBsrLimitCounters changed = limitCounters();
    ++(changed.*limit);
    limitCountersIs(changed);
  }
  /// Sets every counter to zero.
  void clear() {
    for (const auto set :
         {&PimBsrCounters::rxIs, &PimBsrCounters::rxSuccessIs, &PimBsrCounters::rxErrorIs, &PimBsrCounters::txIs,
          &PimBsrCounters::txSuccessIs, &PimBsrCounters::txErrorIs, &PimBsrCounters::rxBsmIs,
          &PimBsrCounters::rxBsmSuccessIs, &PimBsrCounters::rxBsmErrorIs, &PimBsrCounters::rxCrpAdvIs,
          &PimBsrCounters::rxCrpAdvSuccessIs, &PimBsrCounters::rxCrpAdvErrorIs}) {
      (this->*set)(0);
    }
    errCountersIs({});
    limitCountersIs({});
  }
};

/// Adds one to each of the counters named, as `&PimBsrCounters::rxInc`, unless there are none.
template <class... Increment>
void count(const Kiv::Ptr<PimBsrCounters> &counters, Increment... increment) {
  if (counters) (((*counters).*increment)(1), ...);
}

/// A received message was dropped; `kindInc` counts that for messages of its kind.
inline void countDrop(const Kiv::Ptr<PimBsrCounters> &counters, void (PimBsrCounters::*kindInc)(uint32_t),
                      uint32_t PimBsrErrorCounters::*reason) {
  count(counters, &PimBsrCounters::rxErrorInc, kindInc);
  if (counters) counters->errorInc(reason);
}

}  // namespace Routing::Pim::Bsr
