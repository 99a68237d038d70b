#include "io/HeardBsrs.h"

#include <algorithm>

namespace Routing::Pim::Bsr {

void HeardBsrs::heard(const Pax::IpGenAddr &address, uint8_t priority, const Pax::IpGenAddr &neighbor,
                      const Pax::IntfId &intfId, double time) {
  auto bsr = std::ranges::find(all_, address, &HeardBsr::address);
  if (bsr == all_.end() && all_.size() < most) bsr = all_.insert(bsr, HeardBsr());
  if (bsr == all_.end()) bsr = std::ranges::min_element(all_, {}, &HeardBsr::time);
  bsr->address = address;
  bsr->priority = priority;
  bsr->neighbor = neighbor;
  bsr->intfId = intfId;
  bsr->time = time;
}

const HeardBsr *HeardBsrs::find(const Pax::IpGenAddr &address) const {
  const auto bsr = std::ranges::find(all_, address, &HeardBsr::address);
  return bsr == all_.end() ? nullptr : &*bsr;
}

}  // namespace Routing::Pim::Bsr
