/// What an ACL permits, sorted into groups and sources.
#pragma once

#include <optional>
#include <set>
#include <vector>

#include "platform/acl/Acl.h"

namespace Routing::Pim::Bsr {

/// The group set names zones, ranges and borders, the unicast set the sources that a filter lets in. A prefix that
/// reaches beyond the groups of the family stands for all of them in the one, and is whole in the other.
struct PermittedPrefixes {
  std::set<Pax::IpGenPrefix> groups, unicast;
};

/// From the prefixes that the rules come to.
PermittedPrefixes sortPermitted(const std::vector<Pax::IpGenPrefix> &permitted, Pax::AddressFamily family);
/// From the rules in force; nothing for an ACL that is not defined.
std::optional<PermittedPrefixes> permittedBy(const Acl::Input::Config &acls, const std::string &acl,
                                             Pax::AddressFamily family);

}  // namespace Routing::Pim::Bsr
