/// What the ACLs of a configuration come to, and so what its candidates offer.
#pragma once

#include "config/PermittedPrefixes.h"
#include "daemon/file/Configuration.h"

namespace Routing::Pim::Bsr {

using Prefixes = std::set<Pax::IpGenPrefix>;

PermittedPrefixes permittedPrefixes(const AclRules &rules, Pax::AddressFamily family);
/// None for an ACL that is not defined.
Prefixes permittedGroups(const Configuration &configuration, const std::string &acl);

/// Each prefix that an interface offers, with what its sources say of it: the explicit entry, under an
/// empty name, and ACLs under theirs. The last of them stands.
template <class Values>
using Offers = std::map<Pax::IpGenPrefix, std::map<std::string, Values>>;
Offers<ZoneCandidacy> zonesOf(const Configuration &configuration, const BsrCandidacy &candidacy);
Offers<RangeOptions> rangesOf(const Configuration &configuration, const RpCandidacy &candidacy);

}  // namespace Routing::Pim::Bsr
