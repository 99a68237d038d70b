/// Rules of ACLs as plain data.
#pragma once

#include "config/PermittedPrefixes.h"
#include "daemon/file/Configuration.h"

namespace Routing::Pim::Bsr {

/// The rules that the ACL has now, in their order.
AclRules rulesOf(const Acl::AclConfig &acl);
/// Rules that permit what an ACL permits both now and next.
AclRules rulesOfWhatStays(const PermittedPrefixes &now, const PermittedPrefixes &next);

}  // namespace Routing::Pim::Bsr
