#include "daemon/file/Entries.h"

#include "daemon/file/Forms.h"

namespace Routing::Pim::Bsr {

std::string entryPath(std::initializer_list<std::string_view> names) {
  std::string path;
  for (const std::string_view name : names) path.append("/").append(name);
  return path;
}

std::string textOf(const Pax::IpGenPrefix &prefix) { return Kiv::toText(prefix); }

std::string borderEntry(const Configuration &configuration, const Pax::IntfId &intfId) {
  return entryPath({"intfConfig", interfaceKeys({configuration, ""}).write(intfId)});
}

std::string entryOf(const Configuration &configuration, const L3::VrfName &vrf, const Source &source) {
  const auto &[role, intfId, range, acl, options] = source;
  const std::string name = source.isAcl() ? acl : textOf(range);
  const auto kind = [&](const char *ofRange, const char *ofAcl) { return source.isAcl() ? ofAcl : ofRange; };
  switch (role) {
    case Role::candidateBsr:
      return entryPath({"vrfConfig", vrf.text(), "bsrCandidateConfig", intfId.name(), kind("group", "acl"), name});
    case Role::candidateRp:
      return entryPath({"vrfConfig", vrf.text(), "rpCandidateConfig", intfId.name(), kind("groupRange", "acl"), name});
    case Role::filter: return entryPath({"vrfConfig", vrf.text(), "crpFilterAcl", name});
    default: return borderEntry(configuration, intfId) + entryPath({kind("bsrBorderGrp", "bsrBorderAcl"), name});
  }
}

}  // namespace Routing::Pim::Bsr
