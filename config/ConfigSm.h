/// Translates a VRF's configuration into the status that the engine works from.
///
/// Each configured thing has a reactor that follows it: KivBsrCandidateConfig and
/// KivRpCandidateConfig a candidate interface, KivActiveConfig a border interface, ConfigSm::KivAcl
/// the rules of an ACL, KivBsrConfigAclSm what an ACL permits. The sources of each prefix are counted,
/// and it is in status while the count is above zero. Offers.h says which source serves what.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "config/BsrConfigAcl.h"
#include "config/FilterAcl.h"
#include "config/Offers.h"
#include "config/PrefixRefCount.h"
#include "model/Status.h"
#include "platform/flume/MessageCounters.h"
#include "platform/ip/SourceIntf.h"
#include "platform/kiv/ReactorOf.h"

namespace Routing::Pim::Bsr {

class KivActiveConfig;
class KivBsrCandidateConfig;
class KivBsrConfigAclSm;
class KivRpCandidateConfig;

/// One per running VRF, made by its container. It and its reactors are the only writers of `Status.bsTimeout`,
/// `szTimeout`, `mixedFragments`, `limits`, `cbsr` (except for the attributes that the engine writes), `zoneGroup`,
/// `zoneAcl`, `crp`, `bsBorder` and `crpPermit`. On status of an earlier run it first removes what the configuration no
/// longer supports (StaleStatus). It never writes configuration, and its end writes no status.
class ConfigSm {
 public:
  /// All of the same VRF; `sourceIntfSm` outlives this. Only `pimCounters` may be missing.
  ConfigSm(const Kiv::Ptr<const Config> &config, const Kiv::Ptr<const VrfIntfConfig> &vrfIntfConfig,
           const Kiv::Ptr<const ClearConfig> &clearConfig, const Kiv::Ptr<Status> &status,
           const Kiv::Ptr<Flume::MessageCounters> &pimCounters, Ip::SourceIntfSm *sourceIntfSm,
           const Kiv::Ptr<const Acl::Input::Config> &ipAclConfig);
  ~ConfigSm();

  /// Publishes the hold time. The scoped-zone timeout is not recomputed: it keeps the value of the
  /// last change of its own configuration.
  void handleBsrHoldTime();
  /// Publishes the scoped-zone timeout, raised to ten times the hold time where it is lower (RFC 5059
  /// section 5: SZ_Timeout).
  void handleSzTimeout();
  /// Both are published as they are.
  void handleMixedFragments();
  void handleLimits();
  /// Sets the VRF's message counters to zero.
  void handleClearCounters();

  const std::string &vrfName() const { return status_->name(); }
  const Kiv::Ptr<const Config> &config() const { return config_; }
  const Kiv::Ptr<Status> &status() const { return status_; }
  Ip::SourceIntfSm *sourceIntfSm() const { return sourceIntfSm_; }
  /// The prefix of all addresses.
  const Pax::IpGenPrefix &zeroPfx() const { return zeroPfx_; }
  /// What is configured in the VRF, and what its ACLs permit, for offersOf().
  Sources sources() const { return sourcesOf(*config_, vrfIntfConfig_->intfConfig()); }
  Permits permits() const;

  using BsrConfigAcls = std::map<std::string, Kiv::Ptr<BsrConfigAcl>>;
  const BsrConfigAcls &bsrConfigAcl() const { return bsrConfigAcl_; }
  /// Empty when no configuration in force names the ACL.
  Kiv::Ptr<BsrConfigAcl> bsrConfigAcl(const std::string &acl) const;
  /// Finds it, or creates it with what the ACL's current rules permit.
  Kiv::Ptr<BsrConfigAcl> bsrConfigAclIs(const std::string &acl);
  /// The groups that the ACL permits to its users now; none without users. While its rules change,
  /// prefixes come and go one by one.
  std::vector<Pax::IpGenPrefix> groupsOf(const std::string &acl) const;
  bool permitsGroup(const std::string &acl, const Pax::IpGenPrefix &prefix) const;
  /// To be called whenever a use has ended: deletes it when no user is left.
  void bsrConfigAclRelease(const std::string &acl);

  /// The counts by role and interface. For the reactors to change, for others to read.
  PrefixRefCounts<BsrBorderPrefixRefCount> borderPfxRefCount;
  PrefixRefCounts<BsrCandidatePrefixRefCount> cbsrPfxRefCount;
  PrefixRefCounts<RpCandidatePrefixRefCount> crpPfxRefCount;

  /// The reactor of a candidate or border interface; null when it is not configured as such.
  KivActiveConfig *activeConfig(const Pax::IntfId &intfId) const;
  KivBsrCandidateConfig *bsrCandidateConfig(const Pax::IntfId &intfId) const;
  KivRpCandidateConfig *rpCandidateConfig(const Pax::IntfId &intfId) const;

  /// A unicast prefix of a filter ACL came or went.
  void doFilterAclPrefixActivate(const Pax::IpGenPrefix &prefix) { filterAcl_.doFilterAclPrefixActivate(prefix); }
  void doFilterAclPrefixDeactivate(const Pax::IpGenPrefix &prefix) { filterAcl_.doFilterAclPrefixDeactivate(prefix); }
  /// A zone of the candidate BSRs has left status: another interface that still offers it serves it now.
  void handleCbsrDel(const Pax::IpGenPrefix &zone);
  /// A candidate RP has entered status: no other interface serves its address.
  void handleCrpAdd(const Pax::IpGenAddr &address);
  /// A candidate RP has left status. Its reactor calls this while it is at work, and doHandOverCrps() when
  /// it is done: then another interface with the same address may serve it.
  void handleCrpDel(const Pax::IpGenAddr &address);
  void doHandOverCrps();

 private:
  class KivAcl;
  class Reactors;

  void handleInitialized();
  void handleBsrCandidateConfig(const Pax::IntfId &intfId);
  void handleRpCandidateConfig(const Pax::IntfId &intfId);
  void handleIntfConfig(const Pax::IntfId &intfId);
  void handleAcl(const std::string &acl);

  void doBuildBsrConfigAcl();
  Kiv::Ptr<BsrConfigAcl> doCreateBsrConfigAcl(const std::string &acl);
  void doResolve(BsrConfigAcl &bsrConfigAcl) const;
  void doRemoveExtraStatusEntries() const;

  const Kiv::Ptr<const Config> config_;
  const Kiv::Ptr<const VrfIntfConfig> vrfIntfConfig_;
  const Kiv::Ptr<const ClearConfig> clearConfig_;
  const Kiv::Ptr<Status> status_;
  const Kiv::Ptr<Flume::MessageCounters> pimCounters_;
  Ip::SourceIntfSm *const sourceIntfSm_;
  const Kiv::Ptr<const Acl::Input::Config> ipAclConfig_;
  Pax::IpGenPrefix globalOrNonScopedZone_;
  Pax::IpGenPrefix zeroPfx_;

  BsrConfigAcls bsrConfigAcl_;
  FilterAcl filterAcl_{*this};
  std::map<std::string, std::unique_ptr<KivBsrConfigAclSm>> bsrConfigAclSm_;
  std::map<std::string, std::unique_ptr<KivAcl>> acl_;
  std::map<Pax::IntfId, std::unique_ptr<KivActiveConfig>> activeConfig_;
  std::map<Pax::IntfId, std::unique_ptr<KivBsrCandidateConfig>> bsrCandidateConfig_;
  std::map<Pax::IntfId, std::unique_ptr<KivRpCandidateConfig>> rpCandidateConfig_;
  std::vector<Pax::IpGenAddr> freedCrps_;  ///< until they are handed over
  std::unique_ptr<Reactors> reactors_;
};

}  // namespace Routing::Pim::Bsr
