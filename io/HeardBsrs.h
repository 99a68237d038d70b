/// Which BSRs of a zone were heard, and from where.
#pragma once

#include <vector>

#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenAddr.h"

namespace Routing::Pim::Bsr {

/// A BSR, elected or not, as its last accepted message had it.
struct HeardBsr {
  Pax::IpGenAddr address;
  uint8_t priority = 0;
  Pax::IpGenAddr neighbor;  ///< that the message came from
  Pax::IntfId intfId;       ///< on which it arrived
  double time = 0;          ///< on the platform's clock, seconds
};

/// Notes each accepted message of a zone; of many BSRs the one that was silent longest goes. A plain value, a member of
/// the gate for Bootstrap messages. A BSR that is noted already costs no memory.
class HeardBsrs {
 public:
  static constexpr size_t most = 8;

  void heard(const Pax::IpGenAddr &address, uint8_t priority, const Pax::IpGenAddr &neighbor, const Pax::IntfId &intfId,
             double time);
  /// Null if it was not heard.
  const HeardBsr *find(const Pax::IpGenAddr &address) const;
  const std::vector<HeardBsr> &all() const { return all_; }

 private:
  std::vector<HeardBsr> all_;
};

}  // namespace Routing::Pim::Bsr
