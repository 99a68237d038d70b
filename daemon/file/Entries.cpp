#include "daemon/file/Entries.h"

#include "daemon/file/Forms.h"

namespace Routing::Pim::Bsr {

std::string entryPath(std::initializer_list<std::string_view> names) {
  std::string path;
  for (const std::string_view name : names) path.append("/").append(name);
  return path;
}

std::string textOf(const Pax::IpGenPrefix &prefix) { return Kiv::toText(Kiv::toValue(prefix)); }

std::string bsrEntry(const L3::VrfName &vrf, const Pax::IntfId &intfId) {
  return entryPath({"vrfConfig", vrf.text(), "bsrCandidateConfig", intfId.name()});
}

std::string rpEntry(const L3::VrfName &vrf, const Pax::IntfId &intfId) {
  return entryPath({"vrfConfig", vrf.text(), "rpCandidateConfig", intfId.name()});
}

std::string intfEntry(const Configuration &configuration, const Pax::IntfId &intfId) {
  return entryPath({"intfConfig", interfaceKeys({configuration, ""}).write(intfId)});
}

std::vector<AclUse> aclUses(const Configuration &configuration) {
  std::vector<AclUse> uses;
  for (const auto &[vrf, settings] : configuration.vrfConfig) {
    for (const auto &[intfId, candidacy] : settings.bsrCandidateConfig) {
      for (const auto &[acl, values] : candidacy.acl) {
        uses.push_back({acl, bsrEntry(vrf, intfId) + entryPath({"acl", acl}), true});
      }
    }
    for (const auto &[intfId, candidacy] : settings.rpCandidateConfig) {
      for (const auto &[acl, options] : candidacy.acl) {
        uses.push_back({acl, rpEntry(vrf, intfId) + entryPath({"acl", acl}), true});
      }
    }
    for (const std::string &acl : settings.crpFilterAcl) {
      uses.push_back({acl, entryPath({"vrfConfig", vrf.text(), "crpFilterAcl", acl}), false});
    }
  }
  for (const auto &[intfId, settings] : configuration.intfConfig) {
    for (const std::string &acl : settings.bsrBorderAcl) {
      uses.push_back({acl, intfEntry(configuration, intfId) + entryPath({"bsrBorderAcl", acl}), true});
    }
  }
  return uses;
}

}  // namespace Routing::Pim::Bsr
