/// What is wrong in a configuration although each of its members is good.
#pragma once

#include "daemon/file/Configuration.h"
#include "daemon/file/Findings.h"
#include "daemon/file/Places.h"

namespace Routing::Pim::Bsr {

/// Finds a namespace of two VRFs, an ACL that is not defined, a zone that two interfaces of a VRF
/// offer. What ACLs permit is looked at only if there was no error before, since a rule that was
/// left out changes it.
void findErrors(const Configuration &configuration, const Places &places, Findings &findings);

}  // namespace Routing::Pim::Bsr
