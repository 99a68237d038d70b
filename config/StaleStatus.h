/// What an earlier run left in a VRF's status and the configuration no longer supports.
#pragma once

namespace Routing::Pim::Bsr {

class ConfigSm;

/// Called once by ConfigSm as it starts: the status of a VRF outlives the process, and its configuration may have
/// shrunk in the meantime. Deletes what no offer supports from the parts of `Status` that ConfigSm writes, and the
/// elected BSR of a zone for which this router was the BSR and no longer is a candidate. Never creates or changes an
/// element: the reactors, which start afterwards, bring the rest up to date.
void removeStaleStatus(const ConfigSm &configSm);

}  // namespace Routing::Pim::Bsr
