#include "config/PermittedPrefixes.h"

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

}  // namespace Routing::Pim::Bsr
