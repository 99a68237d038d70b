/// Who offers what by a configuration that is not in force, for its checks and for the way to it (config/Offers.h).
#pragma once

#include "config/Offers.h"
#include "daemon/file/Configuration.h"

namespace Routing::Pim::Bsr {

/// The sources of one VRF in the order of the file's members: candidate BSRs, candidate RPs, filters, borders.
Sources sourcesOf(const Configuration &configuration, const L3::VrfName &vrf);
/// What they come to, in the same order.
Offers offersOf(const Configuration &configuration, const L3::VrfName &vrf);

PermittedPrefixes permittedBy(const AclRules &rules, Pax::AddressFamily family);
/// Nothing for an ACL that is not defined.
std::optional<PermittedPrefixes> permittedBy(const Configuration &configuration, const std::string &acl);

}  // namespace Routing::Pim::Bsr
