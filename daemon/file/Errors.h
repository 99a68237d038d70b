/// Errors that concern more than one member of a configuration.
#pragma once

#include "daemon/file/Configuration.h"
#include "daemon/file/Findings.h"
#include "daemon/file/Places.h"

namespace Routing::Pim::Bsr {

/// Finds a namespace or VRF device that two VRFs use, an ACL that is not defined, and a zone that two interfaces of a
/// VRF offer. Zones that come from ACLs are checked only if there was no error before, since a rule that
/// could not be read changes what its ACL permits.
void findErrors(const Configuration &configuration, const Places &places, Findings &findings);

}  // namespace Routing::Pim::Bsr
