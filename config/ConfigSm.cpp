#include "config/ConfigSm.h"

#include <algorithm>

#include "model/VrfTrace.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::ConfigSm");
}

ConfigSm::ConfigSm(const Kiv::Ptr<const Config> &config, const Kiv::Ptr<const VrfIntfConfig> &vrfIntfConfig,
                   const Kiv::Ptr<const ClearConfig> &clearConfig, const Kiv::Ptr<Status> &status)
    : config_(config), vrfIntfConfig_(vrfIntfConfig), clearConfig_(clearConfig), status_(status), kivConfig_(*this) {
  handleInitialized();
}

void ConfigSm::handleInitialized() {
  REQUIRE(config());
  REQUIRE(vrfIntfConfig());
  REQUIRE(status());
  REQUIRE(clearConfig());
  handleBsrHoldTime();
  handleSzTimeout();
}

void ConfigSm::handleBsrHoldTime() {
  VRF_TRACE_ENTRY(trace);
  status_->bsTimeoutIs(config_->holdTime());
  VRF_TRACE(trace, 4, "BSR Hold Time is " << config_->holdTime());
}

void ConfigSm::handleSzTimeout() {
  VRF_TRACE_ENTRY(trace);
  const uint64_t least = std::min<uint64_t>(uint64_t{config_->holdTime()} * 10, UINT32_MAX);
  const uint32_t configured = config_->szTimeout();
  if (least <= configured) {
    status_->szTimeoutIs(configured);
    VRF_TRACE(trace, 4, "Scoped Zone timeout is " << configured << " secs");
  } else {
    status_->szTimeoutIs(static_cast<uint32_t>(least));
    VRF_TRACE(trace, 4,
              "Scoped Zone timeout " << configured << " secs too low. Setting it to " << least << " secs in status");
  }
}

}  // namespace Routing::Pim::Bsr
