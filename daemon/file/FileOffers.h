/// Who offers what in a configuration file (config/Offers.h), for its checks and for applying it.
#pragma once

#include "config/Offers.h"
#include "daemon/file/Configuration.h"

namespace Routing::Pim::Bsr {

/// The sources of one VRF in the order of the file's members: candidate BSRs, candidate RPs, filters, borders.
Sources sourcesOf(const Configuration &configuration, const L3::VrfName &vrf);
/// Their offers, in the same order.
Offers offersOf(const Configuration &configuration, const L3::VrfName &vrf);

/// The largest bootstrap period of the VRF's candidate BSRs; 0 without any.
uint32_t largestInterval(const Configuration &configuration, const L3::VrfName &vrf);
/// 2 x the bootstrap period + 10 (RFC 5059 section 5).
constexpr uint32_t holdTimeOf(uint32_t interval) { return 2 * interval + 10; }

PermittedPrefixes permittedBy(const AclRules &rules, Pax::AddressFamily family);
/// Nothing for an ACL that is not defined.
std::optional<PermittedPrefixes> permittedBy(const Configuration &configuration, const std::string &acl);

}  // namespace Routing::Pim::Bsr
