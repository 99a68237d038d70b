#include <algorithm>

#include "daemon/file/Checks.h"
#include "daemon/file/Entries.h"
#include "daemon/file/Zones.h"
#include "platform/linux/Namespace.h"

namespace Routing::Pim::Bsr {

namespace {

void findNamespacesTwice(const Configuration &configuration, Findings &findings) {
  std::map<std::string, L3::VrfName> owners;
  for (const auto &[vrf, pim] : configuration.pim) {
    if (pim.networkNamespace.empty()) continue;
    const auto [owner, isFirst] = owners.emplace(Linux::namespacePath(pim.networkNamespace.text()), vrf);
    if (isFirst) continue;
    findings.error(entryPath({"pim", vrf.text()}),
                   "namespace " + pim.networkNamespace.text() + " is that of VRF " + owner->second.text() + " already");
  }
}

/// The zones of one VRF, with the interface that offers each.
class ZoneOwners {
 public:
  ZoneOwners(const Configuration &configuration, const Places &places, bool resolve, Findings &findings)
      : configuration_(configuration), places_(places), resolve_(resolve), findings_(findings) {}

  void candidacyIs(const L3::VrfName &vrf, const Pax::IntfId &intfId, const BsrCandidacy &candidacy) {
    const std::string entry = bsrEntry(vrf, intfId);
    for (const auto &[zone, values] : candidacy.group) {
      claim(zones_, zone, intfId, entry + entryPath({"group", textOf(zone)}), "zone " + textOf(zone) + " is");
    }
    for (const auto &[acl, values] : candidacy.acl) {
      const std::string place = entry + entryPath({"acl", acl});
      if (!claim(acls_, acl, intfId, place, "the zones of ACL " + acl + " are") || !resolve_) continue;
      for (const Pax::IpGenPrefix &zone : permittedGroups(configuration_, acl)) {
        claim(zones_, zone, intfId, place, "zone " + textOf(zone) + ", which ACL " + acl + " permits, is");
      }
    }
  }

 private:
  /// An error, and false, where another interface has it.
  template <class Key>
  bool claim(std::map<Key, Pax::IntfId> &owners, const Key &key, const Pax::IntfId &intfId, const std::string &entry,
             const std::string &what) {
    const auto owner = owners.emplace(key, intfId).first->second;
    if (owner == intfId) return true;
    findings_.error(places_.of(entry), what + " offered by " + std::string(owner.name()) + " already");
    return false;
  }

  const Configuration &configuration_;
  const Places &places_;
  const bool resolve_;
  Findings &findings_;
  std::map<Pax::IpGenPrefix, Pax::IntfId> zones_;
  std::map<std::string, Pax::IntfId> acls_;
};

}  // namespace

void findErrors(const Configuration &configuration, const Places &places, Findings &findings) {
  const bool resolve = findings.errors.empty();
  findNamespacesTwice(configuration, findings);
  for (const AclUse &use : aclUses(configuration)) {
    if (!configuration.acl.contains(use.acl)) {
      findings.error(places.of(use.entry), "there is no ACL " + use.acl + " in acl");
    }
  }
  for (const auto &[vrf, settings] : configuration.vrfConfig) {
    ZoneOwners owners(configuration, places, resolve, findings);
    for (const auto &[intfId, candidacy] : settings.bsrCandidateConfig) owners.candidacyIs(vrf, intfId, candidacy);
  }
}

uint32_t largestInterval(const VrfSettings &settings) {
  uint32_t largest = 0;
  for (const auto &[intfId, candidacy] : settings.bsrCandidateConfig) {
    for (const auto &[zone, values] : candidacy.group) largest = std::max(largest, values.interval);
    for (const auto &[acl, values] : candidacy.acl) largest = std::max(largest, values.interval);
  }
  return largest;
}

}  // namespace Routing::Pim::Bsr
