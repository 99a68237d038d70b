#include "daemon/ConfigApply.h"

namespace Routing::Pim::Bsr {

void configurationApply(const Configuration &configuration, ConfigColl &coll) {
  for (const auto &[vrf, settings] : configuration.vrfConfig) {
    const Kiv::Ptr<Config> config = coll.vrfConfigIs(vrf);
    config->holdTimeIs(settings.holdTime);
    config->szTimeoutIs(settings.szTimeout);
  }
  for (const L3::VrfName &vrf : coll.vrfConfig().keys()) {
    if (!configuration.vrfConfig.contains(vrf)) coll.vrfConfigDel(vrf);
  }
}

}  // namespace Routing::Pim::Bsr
