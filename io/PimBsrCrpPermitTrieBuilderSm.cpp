#include "io/PimBsrCrpPermitTrieBuilderSm.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::IO");

PimBsrCrpPermitTrieBuilderSm::PimBsrCrpPermitTrieBuilderSm(const Kiv::Ptr<const Status> &bsrStatus,
                                                           const Kiv::Ptr<TrieGen> &trie)
    : bsrStatus_(bsrStatus), trie_(trie), kivBsrStatus_(*this, bsrStatus) {
  handleCrpPermit();
}

void PimBsrCrpPermitTrieBuilderSm::handleCrpPermit() {
  VRF_TRACE_ENTRY(trace);
  for (const Pax::IpGenPrefix &prefix : bsrStatus_->crpPermit().keys()) {
    handleCrpPermit(prefix);
    trieUpdatesInc(1);
  }
}

void PimBsrCrpPermitTrieBuilderSm::handleCrpPermit(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << prefix << ")");
  if (bsrStatus_->crpPermit(prefix)) {
    trie_->routeIs(prefix, true);
    VRF_TRACE(trace, 4, "Added prefix " << prefix << " into trie");
  } else {
    trie_->routeDel(prefix);
    VRF_TRACE(trace, 4, "Deleted prefix " << prefix << " from trie");
  }
  trieUpdatesInc(1);
}

}  // namespace Routing::Pim::Bsr
