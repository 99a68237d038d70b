/// Brings the configuration entities to what a configuration says.
#pragma once

#include "daemon/file/Configuration.h"
#include "model/Config.h"
#include "platform/acl/Acl.h"

namespace Routing::Pim::Bsr {

/// Writes what differs, so an agent that runs hears only of changes. In this order:
///
///   1. of every VRF the hold time, then the scoped-zone timeout, which is judged by it
///   2. for each zone and range that an interface keeps while all its sources are exchanged, an
///      explicit entry that holds it meanwhile
///   3. candidates and sources of theirs that go
///   4. groups that an ACL does not permit any more, and ACLs that are new
///   5. all other new and changed entries
///   6. what else differs in ACLs
///   7. all other deletions, the entries of 2 among them and the ACLs last
///
/// So an interface never is without what it keeps, whatever it comes from, and no zone is ever
/// offered by two interfaces. Borders and filters may be incomplete meanwhile: no message comes in.
/// An entry gets its priority and its hash mask length last, since it is used from then on. `pim` is
/// not looked at: interfaces are VrfHost's.
void configurationApply(const Configuration &configuration, ConfigColl &coll, Acl::Input::Config &acls);

}  // namespace Routing::Pim::Bsr
