#include "daemon/Zones.h"

#include "platform/acl/AclToPrefix.h"

namespace Routing::Pim::Bsr {

namespace {

/// The keys of `explicitly`, and what the ACLs that are keys of `acls` permit.
template <class Explicit, class Acls>
Prefixes united(const Configuration &configuration, const Explicit &explicitly, const Acls &acls) {
  Prefixes united;
  for (const auto &[prefix, options] : explicitly) united.insert(prefix);
  for (const auto &[acl, options] : acls) united.merge(permittedGroups(configuration, acl));
  return united;
}

}  // namespace

Prefixes permittedPrefixes(const AclRules &rules, Pax::AddressFamily family) {
  AclPrefix::AclToPrefix converter(family);
  for (const Acl::IpRule &rule : rules) converter.handleRule(rule);
  const auto permitted = converter.PermittedPrefixes();
  return {permitted.begin(), permitted.end()};
}

Prefixes permittedGroups(const Configuration &configuration, const std::string &acl) {
  const auto rules = configuration.acl.find(acl);
  if (rules == configuration.acl.end()) return {};
  Prefixes permitted = permittedPrefixes(rules->second, configuration.family);
  const Pax::IpGenPrefix groups = Pax::allGroups(configuration.family);
  std::erase_if(permitted, [&](const Pax::IpGenPrefix &prefix) { return !groups.covers(prefix); });
  return permitted;
}

Prefixes zonesOf(const Configuration &configuration, const BsrCandidacy &candidacy) {
  return united(configuration, candidacy.group, candidacy.acl);
}

Prefixes rangesOf(const Configuration &configuration, const RpCandidacy &candidacy) {
  return united(configuration, candidacy.groupRange, candidacy.acl);
}

}  // namespace Routing::Pim::Bsr
