#include "daemon/file/Zones.h"

#include "platform/acl/AclToPrefix.h"

namespace Routing::Pim::Bsr {

namespace {

template <class Values>
Offers<Values> offers(const Configuration &configuration, const std::map<Pax::IpGenPrefix, Values> &explicitly,
                      const std::map<std::string, Values> &acls) {
  Offers<Values> offers;
  for (const auto &[prefix, values] : explicitly) offers[prefix].emplace("", values);
  for (const auto &[acl, values] : acls) {
    for (const Pax::IpGenPrefix &prefix : permittedGroups(configuration, acl)) offers[prefix].emplace(acl, values);
  }
  return offers;
}

}  // namespace

PermittedPrefixes permittedPrefixes(const AclRules &rules, Pax::AddressFamily family) {
  AclPrefix::AclToPrefix converter(family);
  for (const Acl::IpRule &rule : rules) converter.handleRule(rule);
  return sortPermitted(converter.PermittedPrefixes(), family);
}

Prefixes permittedGroups(const Configuration &configuration, const std::string &acl) {
  const auto rules = configuration.acl.find(acl);
  return rules == configuration.acl.end() ? Prefixes() : permittedPrefixes(rules->second, configuration.family).groups;
}

Offers<ZoneCandidacy> zonesOf(const Configuration &configuration, const BsrCandidacy &candidacy) {
  return offers(configuration, candidacy.group, candidacy.acl);
}

Offers<RangeOptions> rangesOf(const Configuration &configuration, const RpCandidacy &candidacy) {
  return offers(configuration, candidacy.groupRange, candidacy.acl);
}

}  // namespace Routing::Pim::Bsr
