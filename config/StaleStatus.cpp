#include "config/StaleStatus.h"

#include <set>
#include <string>
#include <utility>

#include "config/ConfigSm.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::ConfigSm");

template <class Key>
using ByInterface = std::set<std::pair<Pax::IntfId, Key>>;

class StaleStatus {
 public:
  explicit StaleStatus(const ConfigSm &configSm) : configSm_(configSm), status_(*configSm.status()) {}

  void remove() {
    if (isFresh()) return;
    gather();
    removeBorders();
    for (const Pax::IpGenPrefix &zone : status_.cbsr().keys()) {
      if (!zones_.contains(zone)) removeCandidateBsr(zone);
    }
    removeZoneOwners();
    for (const Pax::IpGenAddr &address : status_.crp().keys()) removeCandidateRp(address, *status_.crp(address));
    removePermits();
  }

 private:
  bool isFresh() const {
    return status_.bsBorder().empty() && status_.cbsr().empty() && status_.zoneGroup().empty() &&
           status_.zoneAcl().empty() && status_.crp().empty() && status_.crpPermit().empty();
  }

  bool hasAddress(const Pax::IntfId &intfId) const { return !configSm_.sourceIntfSm()->ipAddr(intfId).isZero(); }

  void gather() {
    const Sources sources = configSm_.sources();
    for (const Source &source : sources) {
      if (source.role != Role::candidateBsr || !source.hasOptions() || !hasAddress(source.intfId)) continue;
      zoneOwners_.emplace(source.intfId, std::pair(source.range, source.acl));
    }
    for (const auto &[source, prefix, lack] : offersOf(sources, configSm_.permits())) {
      if (!lack.empty()) continue;
      const std::pair at(source.intfId, prefix);
      switch (source.role) {
        case Role::border: borders_.insert(at); break;
        case Role::candidateBsr:
          if (hasAddress(source.intfId)) zones_.insert(prefix);
          break;
        case Role::candidateRp:
          rpPrefixes_.insert(at);
          if (source.hasOptions()) rpPriorities_.insert(at);
          break;
        case Role::filter: permits_.insert(prefix); break;
      }
    }
  }

  void removeBorders() {
    for (const auto &[prefix, border] : status_.bsBorder()) {
      for (const auto &[intfId, in] : border->intfId()) {
        if (borders_.contains({intfId, prefix})) continue;
        VRF_TRACE(trace, 4, "Deleted Interface " << intfId << " from prefix " << prefix << " in status");
        border->intfIdDel(intfId);
      }
      if (!border->intfId().empty()) continue;
      VRF_TRACE(trace, 4, "Deleting prefix " << prefix << " from status");
      status_.bsBorderDel(prefix);
    }
  }

  // With what it had collected as the elected BSR.
  void removeCandidateBsr(const Pax::IpGenPrefix &zone) {
    VRF_TRACE(trace, 4, "Deleting zone " << zone << " from CBSR status");
    const Kiv::Ptr<BsrCandidate> candidate = status_.cbsr(zone);
    const Kiv::Ptr<ElectedBsrStatus> elected = status_.bootstrapRouter(zone);
    if (candidate->elected() && elected && elected->ipAddr() == candidate->address()) {
      VRF_TRACE(trace, 4, "Removing this router as elected BSR of zone " << zone);
      status_.bootstrapRouterDel(zone);
      status_.crpStatusDel(zone);
    }
    status_.cbsrDel(zone);
  }

  void removeZoneOwners() {
    for (const Pax::IpGenPrefix &prefix : status_.zoneGroup().keys()) {
      if (zoneOwners_.contains({*status_.zoneGroup(prefix), {prefix, ""}})) continue;
      VRF_TRACE(trace, 4, "Removing unsupported zoneGroup " << prefix);
      status_.zoneGroupDel(prefix);
    }
    for (const std::string &acl : status_.zoneAcl().keys()) {
      if (zoneOwners_.contains({*status_.zoneAcl(acl), {{}, acl}})) continue;
      VRF_TRACE(trace, 4, "Removing unsupported zoneAcl " << acl);
      status_.zoneAclDel(acl);
    }
  }

  void removeCandidateRp(const Pax::IpGenAddr &address, RpCandidate &crp) {
    const Pax::IntfId &intfId = crp.intfId();
    const bool keeps =
        configSm_.config()->rpCandidateConfig(intfId) && configSm_.sourceIntfSm()->ipAddr(intfId) == address;
    for (const Pax::IpGenPrefix &prefix : crp.prefixSet().keys()) {
      if (!keeps || rpPrefixes_.contains({intfId, prefix})) continue;
      VRF_TRACE(trace, 4, "Removing unsupported prefix " << prefix << " of C-RP " << address);
      crp.prefixSetDel(prefix);
    }
    for (const Pax::IpGenPrefix &prefix : crp.prefixOptions().keys()) {
      if (!keeps || rpPriorities_.contains({intfId, prefix})) continue;
      VRF_TRACE(trace, 4, "Removing unsupported priority of prefix " << prefix << " of C-RP " << address);
      crp.prefixOptionsDel(prefix);
    }
    if (keeps && !crp.prefixSet().empty()) return;
    VRF_TRACE(trace, 4, "Deleting CRP " << address << " from status");
    status_.crpDel(address);
  }

  void removePermits() {
    for (const Pax::IpGenPrefix &prefix : status_.crpPermit().keys()) {
      if (permits_.contains(prefix)) continue;
      VRF_TRACE(trace, 4, "Deleting CRP Permit Prefix " << prefix << " from status");
      status_.crpPermitDel(prefix);
    }
  }

  const std::string &vrfName() const { return configSm_.vrfName(); }

  const ConfigSm &configSm_;
  Status &status_;
  // What the configuration supports.
  ByInterface<Pax::IpGenPrefix> borders_;
  std::set<Pax::IpGenPrefix> zones_;
  ByInterface<std::pair<Pax::IpGenPrefix, std::string>> zoneOwners_;  // by range or by ACL
  ByInterface<Pax::IpGenPrefix> rpPrefixes_;
  ByInterface<Pax::IpGenPrefix> rpPriorities_;
  std::set<Pax::IpGenPrefix> permits_;
};

}  // namespace

void removeStaleStatus(const ConfigSm &configSm) { StaleStatus(configSm).remove(); }

}  // namespace Routing::Pim::Bsr
