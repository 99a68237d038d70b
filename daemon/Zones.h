/// What the ACLs of a configuration come to, and so what its candidates offer.
#pragma once

#include "daemon/Configuration.h"

namespace Routing::Pim::Bsr {

using Prefixes = std::set<Pax::IpGenPrefix>;

Prefixes permittedPrefixes(const AclRules &rules, Pax::AddressFamily family);
/// Of what the ACL permits, the prefixes that are groups; none for an ACL that is not defined.
Prefixes permittedGroups(const Configuration &configuration, const std::string &acl);

/// Every zone for which the interface is a candidate.
Prefixes zonesOf(const Configuration &configuration, const BsrCandidacy &candidacy);
/// Every range that the interface serves as RP.
Prefixes rangesOf(const Configuration &configuration, const RpCandidacy &candidacy);

}  // namespace Routing::Pim::Bsr
