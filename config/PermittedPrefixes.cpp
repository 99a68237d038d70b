#include "config/PermittedPrefixes.h"

#include "platform/acl/AclToPrefix.h"

namespace Routing::Pim::Bsr {

PermittedPrefixes sortPermitted(const std::vector<Pax::IpGenPrefix> &permitted, Pax::AddressFamily family) {
  const Pax::IpGenPrefix all = Pax::allGroups(family);
  PermittedPrefixes sorted;
  for (const Pax::IpGenPrefix &prefix : permitted) {
    if (all.covers(prefix)) {
      sorted.groups.insert(prefix);
      continue;
    }
    sorted.unicast.insert(prefix);
    if (prefix.covers(all)) sorted.groups.insert(all);
  }
  return sorted;
}

std::optional<PermittedPrefixes> permittedBy(const Acl::Input::Config &acls, const std::string &acl,
                                             Pax::AddressFamily family) {
  const Kiv::Ptr<Acl::AclConfig> config = acls.acl(acl);
  if (!config) return std::nullopt;
  return sortPermitted(AclPrefix::permittedPrefixes(*config, family), family);
}

}  // namespace Routing::Pim::Bsr
