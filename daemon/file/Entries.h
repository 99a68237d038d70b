/// The entries of a configuration by their paths, as Places takes them.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "daemon/file/Configuration.h"

namespace Routing::Pim::Bsr {

/// "/NAME/NAME..."
std::string entryPath(std::initializer_list<std::string_view> names);
std::string textOf(const Pax::IpGenPrefix &prefix);
std::string bsrEntry(const L3::VrfName &vrf, const Pax::IntfId &intfId);
std::string rpEntry(const L3::VrfName &vrf, const Pax::IntfId &intfId);
std::string intfEntry(const Configuration &configuration, const Pax::IntfId &intfId);

/// A place where an ACL is named.
struct AclUse {
  std::string acl;
  std::string entry;
  bool groups;  ///< for the groups that it permits, not for addresses of RPs
};
std::vector<AclUse> aclUses(const Configuration &configuration);

}  // namespace Routing::Pim::Bsr
