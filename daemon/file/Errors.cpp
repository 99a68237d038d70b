#include "daemon/file/Errors.h"

#include "daemon/file/Entries.h"
#include "daemon/file/FileOffers.h"
#include "daemon/file/VrfHome.h"
#include "platform/linux/Namespace.h"

namespace Routing::Pim::Bsr {

namespace {

// A namespace without its vrf devices, or one of them: its path and the device, both empty for the VRF "default".
using Domain = std::pair<std::string, std::string>;

void findHomesTwice(const Configuration &configuration, Findings &findings) {
  std::map<Domain, L3::VrfName> owners;
  const auto claim = [&](const L3::VrfName &vrf, const VrfHome &home, const std::string &device) {
    const std::string &name = home.networkNamespace;
    const Domain domain{name.empty() ? "" : Linux::namespacePath(name), device};
    const auto owner = owners.emplace(domain, vrf).first->second;
    if (owner == vrf) return true;
    const std::string belongs = " already belongs to VRF " + owner.text();
    findings.error(entryPath({"pim", vrf.text()}),
                   device.empty() ? "namespace " + name + belongs + "; give one of them a 'device' in that namespace"
                                  : "VRF device " + device + belongs);
    return false;
  };
  for (const auto &[vrf, pim] : configuration.pim) {
    for (const VrfHome &home : homesOf(vrf, pim)) {
      if (!home.needsDevice && !claim(vrf, home, "")) break;
      if (!home.device.empty() && !claim(vrf, home, home.device)) break;
    }
  }
}

// The zones of one VRF, with the interface that offers each.
class ZoneOwners {
 public:
  ZoneOwners(const Configuration &configuration, const Places &places, bool resolve, Findings &findings)
      : configuration_(configuration), places_(places), resolve_(resolve), findings_(findings) {}

  void sourceIs(const Source &source, const std::string &entry) {
    const auto &[role, intfId, range, acl, options] = source;
    if (!source.isAcl()) return void(claim(zones_, range, intfId, entry, "zone " + textOf(range) + " is"));
    if (!claim(acls_, acl, intfId, entry, "the zones of ACL " + acl + " are") || !resolve_) return;
    const PermittedPrefixes permitted = permittedBy(configuration_, acl).value_or(PermittedPrefixes());
    for (const Pax::IpGenPrefix &zone : permitted.groups) {
      claim(zones_, zone, intfId, entry, "zone " + textOf(zone) + ", which ACL " + acl + " permits, is");
    }
  }

 private:
  // An error, and false, where another interface has it.
  template <class Key>
  bool claim(std::map<Key, Pax::IntfId> &owners, const Key &key, const Pax::IntfId &intfId, const std::string &entry,
             const std::string &what) {
    const auto owner = owners.emplace(key, intfId).first->second;
    if (owner == intfId) return true;
    findings_.error(places_.of(entry), what + " already offered by " + std::string(owner.name()));
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
  findHomesTwice(configuration, findings);
  for (const auto &[vrf, settings] : configuration.vrfConfig) {
    for (const Source &source : sourcesOf(configuration, vrf)) {
      if (!source.isAcl() || configuration.acl.contains(source.acl)) continue;
      findings.error(places.of(entryOf(configuration, vrf, source)), "ACL " + source.acl + " is not defined");
    }
  }
  for (const auto &[vrf, settings] : configuration.vrfConfig) {
    ZoneOwners owners(configuration, places, resolve, findings);
    for (const Source &source : sourcesOf(configuration, vrf)) {
      if (source.role == Role::candidateBsr) owners.sourceIs(source, entryOf(configuration, vrf, source));
    }
  }
}

}  // namespace Routing::Pim::Bsr
