/// What an earlier run left in a VRF's status and the configuration no longer supports.
#pragma once

namespace Routing::Pim::Bsr {

class ConfigSm;

/// Called once by ConfigSm as it starts: the status of a VRF outlives the process, and its configuration may have
/// shrunk meanwhile. Deletes what no offer supports from the parts of `Status` that ConfigSm writes, and the elected
/// BSR of a zone that this router served and no longer does. Never creates or changes an element: bringing up to date
/// what stays is for the reactors, which come afterwards.
void removeStaleStatus(const ConfigSm &configSm);

}  // namespace Routing::Pim::Bsr
