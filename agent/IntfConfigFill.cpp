#include "agent/IntfConfigFill.h"

namespace Routing::Pim::Bsr {

void IntfConfigFill::all() const {
  if (!interfaces_) return;
  for (const Pax::IntfId &intfId : own_.intfConfig().keys()) one(intfId);
  for (const Pax::IntfId &intfId : interfaces_->intfStatus().keys()) one(intfId);
}

void IntfConfigFill::one(const Pax::IntfId &intfId) const {
  const Kiv::Ptr<const IntfConfig> config = configColl_.intfConfig(intfId);
  if (config && interfaces_ && interfaces_->intfStatus(intfId)) {
    say_(Step::add, intfId);
    own_.intfConfigIs(intfId, config);
  } else if (own_.intfConfig(intfId) && (interfaces_ || !config)) {
    say_(Step::remove, intfId);
    own_.intfConfigDel(intfId);
  } else if (config) {
    say_(Step::missing, intfId);
  }
}

}  // namespace Routing::Pim::Bsr
