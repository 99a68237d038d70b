/// Brings the configuration entities to what a configuration says.
#pragma once

#include "daemon/Configuration.h"
#include "model/Config.h"
#include "platform/acl/Acl.h"

namespace Routing::Pim::Bsr {

/// Writes what differs and nothing else, so an agent that runs hears only of changes. In this order:
///
///   1. of every VRF the hold time, then the scoped-zone timeout, which is judged by it
///   2. what an interface gives up and another takes over: its zone, or the ACL of its zones
///   3. ACLs that are new
///   4. new and changed entries with prefixes, save zones that another interface offers still
///   5. ACLs whose rules changed, each at one stroke
///   6. all other new and changed entries
///   7. deletions, the ACLs last
///
/// So a prefix that moves between an entry and an ACL, or between ACLs, of one interface never is
/// away in between. An entry gets its priority and its hash mask length last, since it is used from then
/// on. `pim` is not looked at: interfaces are VrfHost's.
void configurationApply(const Configuration &configuration, ConfigColl &coll, Acl::Input::Config &acls);

}  // namespace Routing::Pim::Bsr
