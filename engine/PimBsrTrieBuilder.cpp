#include "engine/PimBsrTrieBuilder.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::TrieBuilder");

PimBsrTrieBuilderSm::PimBsrTrieBuilderSm(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<TrieGen> &trie)
    : bsrStatus_(bsrStatus), trie_(trie) {
  for (const auto &[zone, bsr] : bsrStatus_->bootstrapRouter()) {
    bsr_.insert(zone, std::make_unique<KivBsr>(*this, bsr));
  }
  handleBsr();
}

void PimBsrTrieBuilderSm::KivBsrStatus::onBootstrapRouter(const Pax::IpGenPrefix &zone) {
  owner_.bsr_.erase(zone);
  if (const auto bsr = owner_.bsrStatus_->bootstrapRouter(zone)) {
    owner_.bsr_.insert(zone, std::make_unique<KivBsr>(owner_, bsr));
  }
  owner_.handleBsr(zone);
}

void PimBsrTrieBuilderSm::handleBsr() {
  VRF_TRACE_ENTRY(trace);
  for (const Pax::IpGenPrefix &zone : bsrStatus_->bootstrapRouter().keys()) handleBsr(zone);
}

void PimBsrTrieBuilderSm::handleBsr(const Pax::IpGenPrefix &zone) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << zone << " )");
  if (bsrStatus_->bootstrapRouter(zone)) {
    trie_->routeIs(zone, true);
    VRF_TRACE(trace, 4, "Added prefix " << zone << " into trie");
  } else {
    trie_->routeDel(zone);
    VRF_TRACE(trace, 4, "Deleted prefix " << zone << " from trie");
  }
  ++trieUpdates_;
}

void PimBsrTrieBuilderSm::KivBsr::handleBsrIp() {
  VRF_TRACE_ENTRY(trace);
  const Pax::IpGenPrefix zone = notifier()->zone();
  VRF_TRACE(trace, 4,
            " BSR changed for zone " << zone << " to " << notifier()->ipAddr() << ". Generating changeroute event");
  owner_.trie_->changedRouteIs(zone);
}

}  // namespace Routing::Pim::Bsr
