/// Brings the configuration entities to what a configuration says.
#pragma once

#include <memory>

#include "daemon/file/Configuration.h"
#include "model/Config.h"
#include "platform/acl/Acl.h"

namespace Routing::Pim::Bsr {

/// Writes what differs, so a running agent hears only of changes. All operations are planned first and then done phase
/// by phase, across all VRFs, interfaces and ACLs:
///
///   setValues   the hold time of a VRF, then the scoped-zone timeout, which is compared with it; limits
///   hold        an explicit entry for each zone and range that an interface keeps while all its sources are exchanged
///   withdraw    candidates, and sources of theirs, that go: before anybody else offers the same zone
///   narrowAcls  groups that an ACL no longer permits, for the same reason
///   addAcls     new ACLs: before the entries that name them
///   addEntries  new and changed candidates, filters and borders: whatever was held is still there
///   changeAcls  what else differs in ACLs: once their new users are there and the old ones are gone
///   deleteRest  the entries of `hold`, filters and borders, then interfaces, VRFs, and the ACLs, which nobody names
///   now
///
/// So an interface is never without what it keeps, whichever source it comes from, and no zone is ever
/// offered by two interfaces. Borders and filters may be incomplete meanwhile. An entry gets its priority and its hash
/// mask length last, since it is used from then on. `pim` is ignored: VrfHost applies it.
///
/// Between two operations anything else may happen, so that a long difference need not be applied in one turn of the
/// loop; another application begins only when this one is at its end. All that it is made of outlives it.
class ConfigApplication {
 public:
  ConfigApplication(const Configuration &configuration, ConfigColl &coll, Acl::Input::Config &acls);
  ~ConfigApplication();

  /// Does the next operation, if any. False when none is left.
  bool step();

 private:
  class Plan;
  const std::unique_ptr<Plan> plan_;
};

/// All of it at once.
void configurationApply(const Configuration &configuration, ConfigColl &coll, Acl::Input::Config &acls);

}  // namespace Routing::Pim::Bsr
