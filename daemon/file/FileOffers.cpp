#include "daemon/file/FileOffers.h"

#include <algorithm>

#include "platform/acl/AclToPrefix.h"

namespace Routing::Pim::Bsr {

namespace {

CandidacyOptions optionsOf(const ZoneCandidacy &candidacy) {
  return {candidacy.priority, candidacy.hashMaskLen, candidacy.interval};
}
CandidacyOptions optionsOf(const RangeOptions &options) { return {options.priority}; }

template <class Values>
void addCandidate(Sources &sources, Role role, const Pax::IntfId &intfId,
                  const std::map<Pax::IpGenPrefix, Values> &ranges, const std::map<std::string, Values> &acls) {
  for (const auto &[range, values] : ranges) sources.push_back({role, intfId, range, {}, optionsOf(values)});
  for (const auto &[acl, values] : acls) sources.push_back({role, intfId, {}, acl, optionsOf(values)});
}

}  // namespace

Sources sourcesOf(const Configuration &configuration, const L3::VrfName &vrf) {
  Sources sources;
  const VrfSettings &settings = configuration.vrfConfig.at(vrf);
  for (const auto &[intfId, bsr] : settings.bsrCandidateConfig) {
    addCandidate(sources, Role::candidateBsr, intfId, bsr.group, bsr.acl);
  }
  for (const auto &[intfId, rp] : settings.rpCandidateConfig) {
    addCandidate(sources, Role::candidateRp, intfId, rp.groupRange, rp.acl);
  }
  for (const std::string &acl : settings.crpFilterAcl) sources.push_back({Role::filter, {}, {}, acl, {}});
  for (const auto &[intfId, intf] : configuration.intfConfig) {
    if (intfId.vrf() != vrf.text()) continue;
    for (const Pax::IpGenPrefix &range : intf.bsrBorderGrp) sources.push_back({Role::border, intfId, range, {}, {}});
    for (const std::string &acl : intf.bsrBorderAcl) sources.push_back({Role::border, intfId, {}, acl, {}});
  }
  return sources;
}

Offers offersOf(const Configuration &configuration, const L3::VrfName &vrf) {
  return offersOf(sourcesOf(configuration, vrf),
                  [&](const std::string &acl) { return permittedBy(configuration, acl); });
}

uint32_t largestInterval(const Configuration &configuration, const L3::VrfName &vrf) {
  uint32_t largest = 0;
  for (const Source &source : sourcesOf(configuration, vrf)) largest = std::max(largest, source.options.interval);
  return largest;
}

PermittedPrefixes permittedBy(const AclRules &rules, Pax::AddressFamily family) {
  AclPrefix::AclToPrefix converter(family);
  for (const Acl::IpRule &rule : rules) converter.handleRule(rule);
  return sortPermitted(converter.PermittedPrefixes(), family);
}

std::optional<PermittedPrefixes> permittedBy(const Configuration &configuration, const std::string &acl) {
  const auto rules = configuration.acl.find(acl);
  if (rules == configuration.acl.end()) return std::nullopt;
  return permittedBy(rules->second, configuration.family);
}

}  // namespace Routing::Pim::Bsr
