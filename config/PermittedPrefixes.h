/// What an ACL permits, divided into groups and sources.
#pragma once

#include <optional>
#include <set>
#include <vector>

#include "platform/acl/Acl.h"

namespace Routing::Pim::Bsr {

/// The groups are used as zones, ranges and borders, the unicast prefixes as the sources that a filter accepts. A
/// prefix that reaches beyond the multicast groups stands for all groups in the first set, and is whole in the second.
struct PermittedPrefixes {
  std::set<Pax::IpGenPrefix> groups, unicast;
};

/// From the prefixes that the rules permit.
PermittedPrefixes sortPermitted(const std::vector<Pax::IpGenPrefix> &permitted, Pax::AddressFamily family);
/// From the rules in force; nothing for an ACL that is not defined.
std::optional<PermittedPrefixes> permittedBy(const Acl::Input::Config &acls, const std::string &acl,
                                             Pax::AddressFamily family);

}  // namespace Routing::Pim::Bsr
